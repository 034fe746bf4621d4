#include "shared/platform/minidump_writer.h"

#include "client/linux/handler/exception_handler.h"
#include "shared/platform/linux/dump_guards.h"
#include "shared/platform/linux/spare_descriptors.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csetjmp>
#include <csignal>
#include <ctime>
#include <iterator>
#include <mutex>
#include <string>

#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

using google_breakpad::ExceptionHandler;
using google_breakpad::MinidumpDescriptor;

constexpr std::array crashSignals{SIGSEGV, SIGABRT, SIGFPE, SIGILL, SIGBUS, SIGTRAP};

/// The handlers that the signals had before this library installed its own.
struct sigaction earlierHandlers[crashSignals.size()];

// Breakpad's own signal handler makes all crashing threads wait for one mutex. When the first
// thread releases the mutex to end the process, the next thread begins a second dump. The handler
// in this file lets only one thread write a dump.

/// Id of the thread that handles its crash, or one of the two values below.
std::atomic<pid_t> crashingThread;
constexpr pid_t noThread = 0;
constexpr pid_t passedOn = -1; ///< crashes are passed on to the earlier handlers

/// Id of the thread that writes a dump on demand, or noThread.
std::atomic<pid_t> onDemandThread;

void pauseShortly()
{
    constexpr timespec pause{0, 10'000'000};
    ::nanosleep(&pause, nullptr);
}

/// Returns true for the first thread that crashes. If the first thread has ended, returns true for
/// the next thread that crashes. Any other thread waits here for the end of the process. If crashes
/// are passed on to the earlier handlers, returns false.
bool becomeCrashingThread()
{
    pid_t const self = ::gettid();
    for (;;) {
        pid_t present = noThread;
        if (crashingThread.compare_exchange_strong(present, self))
            return true;
        if (present == passedOn)
            return false;
        bool const isGone = ::tgkill(::getpid(), present, 0) != 0 && errno == ESRCH;
        if (isGone && crashingThread.compare_exchange_strong(present, self))
            return true;
        pauseShortly();
    }
}

/// Waits until no other thread writes a dump on demand. If two dumps were written at the same time,
/// each would miss the threads that the other has stopped. Waits at most 2 seconds, so that a crash
/// is always handled.
void waitForOnDemandDump()
{
    constexpr int maxPauses = 200;
    pid_t const self = ::gettid();
    for (int i = 0; i < maxPauses; ++i) {
        pid_t const other = onDemandThread;
        if (other == noThread || other == self)
            return;
        pauseShortly();
    }
}

/// While the object exists, this thread is registered as writing a dump on demand.
class OnDemandDump
{
  public:
    /// Waits while another thread handles a crash, which usually ends the process.
    OnDemandDump()
    {
        onDemandThread = ::gettid();
        while (crashingThread > noThread && !isCrashing()) {
            onDemandThread = noThread;
            pauseShortly();
        }
    }
    ~OnDemandDump() { onDemandThread = noThread; }
    OnDemandDump(OnDemandDump const &) = delete;
    OnDemandDump & operator=(OnDemandDump const &) = delete;

    /// Returns whether this thread is already handling its own crash. This is the case if the
    /// callback of that crash, for example a logger, requests this dump.
    bool isCrashing() const { return crashingThread == ::gettid(); }
};

void restoreEarlierHandlers()
{
    for (std::size_t i = 0; i < crashSignals.size(); ++i)
        ::sigaction(crashSignals[i], &earlierHandlers[i], nullptr);
}

/// Sends the signal again with the same information. The signal arrives when its handler returns.
/// This is necessary because a fault does not recur if another thread has removed its cause.
void resendSignal(int signal, siginfo_t & information)
{
    if (::syscall(SYS_rt_tgsigqueueinfo, ::getpid(), ::gettid(), signal, &information) != 0)
        ::raise(signal);
}

bool storeDumpPath(MinidumpDescriptor const & dump, void * file, bool succeeded)
{
    *static_cast<std::string *>(file) = dump.path();
    return succeeded;
}

/// Returns the address of the current instruction in `context`. A dump without an exception stores
/// it as the address of the exception.
void * instructionOf(ucontext_t const & context)
{
#if defined(__x86_64__)
    return reinterpret_cast<void *>(context.uc_mcontext.gregs[REG_RIP]);
#elif defined(__i386__)
    return reinterpret_cast<void *>(context.uc_mcontext.gregs[REG_EIP]);
#else
    static_cast<void>(context);
    return nullptr;
#endif
}

/// Jump buffer and thread of the function that runGuarded calls.
sigjmp_buf guardedJump;
pthread_t guardedThread;

void leaveGuardedWork(int signal, siginfo_t * information, void *)
{
    if (::pthread_equal(::pthread_self(), guardedThread))
        ::siglongjmp(guardedJump, 1);
    if (signal == SIGALRM)
        ::pthread_kill(guardedThread, signal);
    else if (!becomeCrashingThread()) // the guarded thread is the crashing thread
        resendSignal(signal, *information);
}

} // namespace

bool runGuarded(void (*work)(void *), void * data)
{
    constexpr unsigned timeoutSeconds = 3;
    constexpr int signals[] = {SIGSEGV, SIGABRT, SIGFPE, SIGILL, SIGBUS, SIGTRAP, SIGALRM};
    static struct sigaction before[std::size(signals)]; // keeps its values after the jump
    struct sigaction leave {
    };
    leave.sa_sigaction = leaveGuardedWork;
    leave.sa_flags = SA_ONSTACK | SA_SIGINFO;
    for (int const signal : signals)
        ::sigaddset(&leave.sa_mask, signal);
    guardedThread = ::pthread_self();

    bool volatile isDone = false;
    if (sigsetjmp(guardedJump, 1) == 0) {
        for (std::size_t i = 0; i < std::size(signals); ++i)
            ::sigaction(signals[i], &leave, &before[i]);
        sigset_t mask;
        ::pthread_sigmask(SIG_UNBLOCK, &leave.sa_mask, &mask);
        ::alarm(timeoutSeconds);
        work(data);
        ::alarm(0);
        ::pthread_sigmask(SIG_SETMASK, &mask, nullptr);
        isDone = true;
    }
    // A SIGALRM that arrives late must not end the process before the crash does.
    before[std::size(signals) - 1].sa_handler = SIG_IGN;
    for (std::size_t i = 0; i < std::size(signals); ++i)
        ::sigaction(signals[i], &before[i], nullptr);
    return isDone;
}

class MinidumpWriter::Implementation
{
  public:
    Implementation(NativeName const & folder, Callback callback) : callback_(callback)
    {
        crashingThread = noThread;
        setFolder(folder);
        installed = this;
        ::pthread_atfork(nullptr, nullptr, resetInChild);
        struct sigaction own {
        };
        own.sa_sigaction = onCrash;
        own.sa_flags = SA_ONSTACK | SA_SIGINFO;
        for (int const signal : crashSignals)
            ::sigaddset(&own.sa_mask, signal);
        for (std::size_t i = 0; i < crashSignals.size(); ++i)
            ::sigaction(crashSignals[i], &own, &earlierHandlers[i]);
    }

    /// Waits while another thread handles a crash, which usually ends the process.
    ~Implementation()
    {
        if (crashingThread != ::gettid() && becomeCrashingThread()) {
            restoreEarlierHandlers();
            crashingThread = passedOn;
        }
        installed = nullptr;
        delete handler_;
    }

    void setFolder(NativeName const & folder)
    {
        std::lock_guard const lock(mutex_);
        folder_ = folder;
        ExceptionHandler const * const previous = handler_.exchange(makeHandler());
        if (crashingThread == noThread) // a crash may use the previous handler
            delete previous;
    }

    /// Writes a dump. Then releases the mutex and calls the callback.
    bool writeOnDemand(DumpReason reason, EXCEPTION_RECORD const & record, void * context)
    {
        std::string file;
        bool const succeeded = dumpOnDemand(file, record, context);
        return callback_({file.c_str(), reason, succeeded});
    }

  private:
    static std::atomic<Implementation *> installed; ///< the only instance of the process

    static void onCrash(int signal, siginfo_t * information, void * context)
    {
        if (isWithoutInformation(signal))
            return;
        if (becomeCrashingThread()) {
            Implementation * const self = installed;
            if (self && self->handleCrash(signal, *information, context)) {
                ::signal(signal, SIG_DFL);
            } else {
                restoreEarlierHandlers();
                crashingThread = passedOn;
            }
        }
        resendSignal(signal, *information);
    }

    /// Returns whether the handler was called without signal information. This happens after other
    /// code has replaced the handler and restored it by signal(), which loses the handler's flags.
    /// In this case, restores the flags, so that the signal occurs again with its information.
    static bool isWithoutInformation(int signal)
    {
        struct sigaction present {
        };
        if (::sigaction(signal, nullptr, &present) != 0 || (present.sa_flags & SA_SIGINFO) ||
            present.sa_sigaction != onCrash)
            return false;
        present.sa_flags = SA_ONSTACK | SA_SIGINFO;
        return ::sigaction(signal, &present, nullptr) == 0;
    }

    /// Writes the dump of a crash. Returns false if the crash is to be passed on to the earlier
    /// handlers.
    bool handleCrash(int signal, siginfo_t & information, void * context)
    {
        killTimer_.start();
        waitForOnDemandDump();
        spareDescriptors_.release();
        DumpableState const state;
        bool const isHandled = handler_.load()->HandleSignal(signal, &information, context);
        killTimer_.stop();
        return isHandled;
    }

    static bool reportCrash(MinidumpDescriptor const & dump, void * self, bool succeeded)
    {
        auto const call = static_cast<Implementation const *>(self)->callback_;
        return call({dump.path(), DumpReason::Crash, succeeded});
    }

    /// Resets the state that a forked child must not share with its parent, mainly the name of the
    /// next dump.
    static void resetInChild()
    {
        crashingThread = noThread;
        onDemandThread = noThread;
        if (Implementation * const self = installed) {
            self->killTimer_.create();
            self->handler_.load()->set_minidump_descriptor(MinidumpDescriptor(self->folder_));
        }
    }

    /// Creates the handler. Breakpad chooses the name of the next dump here.
    ExceptionHandler * makeHandler()
    {
        return new ExceptionHandler(MinidumpDescriptor(folder_), nullptr, reportCrash, this, false,
                                    -1);
    }

    bool dumpOnDemand(std::string & file, EXCEPTION_RECORD const & record, void * context)
    {
        std::lock_guard const lock(mutex_);
        OnDemandDump const dump;
        if (dump.isCrashing())
            return false;
        ExceptionHandler once(MinidumpDescriptor(folder_), nullptr, storeDumpPath, &file, false,
                              -1);
        siginfo_t signal{};
        signal.si_signo = static_cast<int>(record.ExceptionCode);
        signal.si_code = static_cast<int>(record.ExceptionFlags);
        signal.si_addr = record.ExceptionAddress;
        spareDescriptors_.release();
        DumpableState const state;
        // Breakpad's handler sets PR_SET_DUMPABLE itself only for signals that the kernel has sent.
        ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
        bool const succeeded = once.HandleSignal(signal.si_signo, &signal, context);
        spareDescriptors_.reserve();
        return succeeded;
    }

    Callback const callback_;
    std::mutex mutex_; ///< protects the folder and the dumps on demand
    std::string folder_;
    std::atomic<ExceptionHandler *> handler_ = nullptr;
    KillTimer killTimer_;
    SpareDescriptors spareDescriptors_;
};

std::atomic<MinidumpWriter::Implementation *> MinidumpWriter::Implementation::installed;

MinidumpWriter::MinidumpWriter(NativeName const & folder, Callback callback)
    : implementation_(std::make_unique<Implementation>(folder, callback))
{
}

MinidumpWriter::~MinidumpWriter() = default;

void MinidumpWriter::setFolder(NativeName const & folder)
{
    implementation_->setFolder(folder);
}

bool MinidumpWriter::write(std::uint32_t code)
{
    ucontext_t context{};
    if (::getcontext(&context) != 0)
        return false;
#ifdef __i386__
    // The dump takes the stack pointer from REG_UESP, which getcontext() does not set.
    context.uc_mcontext.gregs[REG_UESP] = context.uc_mcontext.gregs[REG_ESP];
#endif
    return implementation_->writeOnDemand(DumpReason::Request, {code, 0, instructionOf(context)},
                                          &context);
}

bool MinidumpWriter::write(EXCEPTION_POINTERS & exception)
{
    return exception.ExceptionRecord && exception.ContextRecord &&
           implementation_->writeOnDemand(DumpReason::Exception, *exception.ExceptionRecord,
                                          exception.ContextRecord);
}

std::uint32_t exceptionCode(EXCEPTION_POINTERS const & exception)
{
    return exception.ExceptionRecord ? exception.ExceptionRecord->ExceptionCode : 0;
}

} // namespace ox::platform
