#include "shared/platform/minidump_writer.h"

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

#include "client/linux/handler/exception_handler.h"

namespace ox::platform
{
namespace
{

using google_breakpad::ExceptionHandler;
using google_breakpad::MinidumpDescriptor;

constexpr std::array crashSignals{SIGSEGV, SIGABRT, SIGFPE, SIGILL, SIGBUS, SIGTRAP};

/// The handlers of these signals from before the library's.
struct sigaction earlierHandlers[crashSignals.size()];

// Breakpad's own signal handler makes all crashing threads wait for one mutex, and lets the next
// thread begin a dump while the first one ends the process. The handler here lets one thread in.

/// Which thread handles its crash. The values without a thread:
std::atomic<pid_t> crashingThread;
constexpr pid_t noThread = 0;
constexpr pid_t handedOn = -1; ///< crashes go to the earlier handlers

/// Which thread writes a dump on demand; noThread for none.
std::atomic<pid_t> demandingThread;

void pauseShortly()
{
    constexpr timespec pause{0, 10'000'000};
    ::nanosleep(&pause, nullptr);
}

/// True for the first thread that crashes. Every other thread waits here for the end of the
/// process, and gets false only when crashes are handed on.
bool becomeCrashingThread()
{
    pid_t const self = ::gettid();
    for (;;) {
        pid_t present = noThread;
        if (crashingThread.compare_exchange_strong(present, self))
            return true;
        if (present == handedOn)
            return false;
        bool const isGone = ::tgkill(::getpid(), present, 0) != 0 && errno == ESRCH;
        if (isGone && crashingThread.compare_exchange_strong(present, self))
            return true;
        pauseShortly();
    }
}

/// A dump on demand and one of a crash at the same time would each miss the threads that the other
/// one holds. A crash waits for the other dump, but not long, and not for one of its own thread.
void awaitDemand()
{
    constexpr int patience = 200;
    pid_t const self = ::gettid();
    for (int i = 0; i < patience; ++i) {
        pid_t const other = demandingThread;
        if (other == noThread || other == self)
            return;
        pauseShortly();
    }
}

/// Announces a dump on demand as long as it lives.
class Demand
{
  public:
    /// Waits for the end of the process when another thread crashes.
    Demand()
    {
        demandingThread = ::gettid();
        while (crashingThread > noThread && !isCrashing()) {
            demandingThread = noThread;
            pauseShortly();
        }
    }
    ~Demand() { demandingThread = noThread; }
    Demand(Demand const &) = delete;
    Demand & operator=(Demand const &) = delete;

    /// Whether it is part of the handling of a crash, say by the logger.
    bool isCrashing() const { return crashingThread == ::gettid(); }
};

void restoreEarlierHandlers()
{
    for (std::size_t i = 0; i < crashSignals.size(); ++i)
        ::sigaction(crashSignals[i], &earlierHandlers[i], nullptr);
}

/// Lets the signal come once more when its handler returns, as it was. A fault mostly comes by
/// itself, but not when another thread has mended its cause.
void sendAgain(int signal, siginfo_t & information)
{
    if (::syscall(SYS_rt_tgsigqueueinfo, ::getpid(), ::gettid(), signal, &information) != 0)
        ::raise(signal);
}

bool noteDumpOnDemand(MinidumpDescriptor const & dump, void * file, bool succeeded)
{
    *static_cast<std::string *>(file) = dump.path();
    return succeeded;
}

/// The place of an exception that comes without one.
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

/// Where the guarded work is left, and by which thread.
sigjmp_buf wayOut;
pthread_t guardedThread;

void leaveGuardedWork(int signal, siginfo_t * information, void *)
{
    if (::pthread_equal(::pthread_self(), guardedThread))
        ::siglongjmp(wayOut, 1);
    if (signal == SIGALRM)
        ::pthread_kill(guardedThread, signal);
    else if (!becomeCrashingThread()) // the guarded thread is it
        sendAgain(signal, *information);
}

} // namespace

bool runGuarded(void (*work)(void *), void * data)
{
    constexpr unsigned patienceSeconds = 3;
    constexpr int signals[] = {SIGSEGV, SIGABRT, SIGFPE, SIGILL, SIGBUS, SIGTRAP, SIGALRM};
    static struct sigaction before[std::size(signals)]; // survives the jump
    struct sigaction leave {
    };
    leave.sa_sigaction = leaveGuardedWork;
    leave.sa_flags = SA_ONSTACK | SA_SIGINFO;
    for (int const signal : signals)
        ::sigaddset(&leave.sa_mask, signal);
    guardedThread = ::pthread_self();

    bool volatile isDone = false;
    if (sigsetjmp(wayOut, 1) == 0) {
        for (std::size_t i = 0; i < std::size(signals); ++i)
            ::sigaction(signals[i], &leave, &before[i]);
        sigset_t mask;
        ::pthread_sigmask(SIG_UNBLOCK, &leave.sa_mask, &mask);
        ::alarm(patienceSeconds);
        work(data);
        ::alarm(0);
        ::pthread_sigmask(SIG_SETMASK, &mask, nullptr);
        isDone = true;
    }
    // A late alarm must not end the process in place of the crash.
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
        ::pthread_atfork(nullptr, nullptr, renewInChild);
        struct sigaction own {
        };
        own.sa_sigaction = onCrash;
        own.sa_flags = SA_ONSTACK | SA_SIGINFO;
        for (int const signal : crashSignals)
            ::sigaddset(&own.sa_mask, signal);
        for (std::size_t i = 0; i < crashSignals.size(); ++i)
            ::sigaction(crashSignals[i], &own, &earlierHandlers[i]);
    }

    /// A crash that is being handled on another thread ends the process first.
    ~Implementation()
    {
        if (crashingThread != ::gettid() && becomeCrashingThread()) {
            restoreEarlierHandlers();
            crashingThread = handedOn;
        }
        installed = nullptr;
        delete handler_;
    }

    void setFolder(NativeName const & folder)
    {
        std::lock_guard const lock(mutex_);
        folder_ = folder;
        ExceptionHandler const * const former = handler_.exchange(makeHandler());
        if (crashingThread == noThread) // a crash may be using it
            delete former;
    }

    /// The callback comes when the dump is done and nothing is held any more.
    bool writeOnDemand(DumpReason reason, EXCEPTION_RECORD const & record, void * context)
    {
        std::string file;
        bool const succeeded = dumpOnDemand(file, record, context);
        return callback_({file.c_str(), reason, succeeded});
    }

  private:
    static std::atomic<Implementation *> installed; ///< the one of the process

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
                crashingThread = handedOn;
            }
        }
        sendAgain(signal, *information);
    }

    /// Code that sets the handlers aside by signal() puts them back without their flags. The signal
    /// then has to come once more.
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

    /// False when the crash goes on to the earlier handlers.
    bool handleCrash(int signal, siginfo_t & information, void * context)
    {
        killTimer_.start();
        awaitDemand();
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

    /// What a forked child may not share with its parent, above all the file of the next crash.
    static void renewInChild()
    {
        crashingThread = noThread;
        demandingThread = noThread;
        if (Implementation * const self = installed) {
            self->killTimer_.create();
            self->handler_.load()->set_minidump_descriptor(MinidumpDescriptor(self->folder_));
        }
    }

    /// Breakpad names the file of the next crash here.
    ExceptionHandler * makeHandler()
    {
        return new ExceptionHandler(MinidumpDescriptor(folder_), nullptr, reportCrash, this, false,
                                    -1);
    }

    bool dumpOnDemand(std::string & file, EXCEPTION_RECORD const & record, void * context)
    {
        std::lock_guard const lock(mutex_);
        Demand const demand;
        if (demand.isCrashing())
            return false;
        ExceptionHandler once(MinidumpDescriptor(folder_), nullptr, noteDumpOnDemand, &file, false,
                              -1);
        siginfo_t signal{};
        signal.si_signo = static_cast<int>(record.ExceptionCode);
        signal.si_code = static_cast<int>(record.ExceptionFlags);
        signal.si_addr = record.ExceptionAddress;
        spareDescriptors_.release();
        DumpableState const state;
        // What the handler does itself only for signals of the system.
        ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
        bool const succeeded = once.HandleSignal(signal.si_signo, &signal, context);
        spareDescriptors_.reserve();
        return succeeded;
    }

    Callback const callback_;
    std::mutex mutex_; ///< for the folder and the dumps on demand
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
    // The dump has the stack pointer from where only the system puts it.
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
