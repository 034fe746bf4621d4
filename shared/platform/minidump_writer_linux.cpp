#include "shared/platform/minidump_writer.h"

#include <csetjmp>
#include <csignal>
#include <iterator>
#include <mutex>
#include <string>
#include <utility>

#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <ucontext.h>
#include <unistd.h>

#include "client/linux/handler/exception_handler.h"

namespace ox::platform
{
namespace
{

using google_breakpad::ExceptionHandler;
using google_breakpad::MinidumpDescriptor;

bool reportCrash(MinidumpDescriptor const & dump, void * callback, bool succeeded)
{
    auto const call = *static_cast<MinidumpWriter::Callback const *>(callback);
    return call({dump.path(), DumpReason::Crash, succeeded});
}

/// A dump on demand.
struct Demand {
    pthread_t const thread = ::pthread_self();
    bool isTaken = false;
    std::string file;
};

/// A crash meanwhile, on whatever thread, is left to the writer of the crashes.
bool takeDemand(void * demand)
{
    auto & given = *static_cast<Demand *>(demand);
    return ::pthread_equal(::pthread_self(), given.thread) && !std::exchange(given.isTaken, true);
}

bool noteDemanded(MinidumpDescriptor const & dump, void * demand, bool succeeded)
{
    static_cast<Demand *>(demand)->file = dump.path();
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

/// Memory for the signal handlers of a thread, with some below it that nobody may touch.
class SignalStack
{
  public:
    SignalStack()
    {
        stack_t present{};
        ::sigaltstack(nullptr, &present);
        if (!(present.ss_flags & SS_DISABLE) && present.ss_size >= size)
            return;
        memory_ = ::mmap(nullptr, guard + size, PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
        if (memory_ == MAP_FAILED)
            return;
        ::mprotect(memory_, guard, PROT_NONE);
        stack_t own{};
        own.ss_sp = static_cast<char *>(memory_) + guard;
        own.ss_size = size;
        ::sigaltstack(&own, &previous_);
    }
    ~SignalStack()
    {
        // The system refuses while a signal handler runs on it, and then the memory must stay.
        if (memory_ != MAP_FAILED && ::sigaltstack(&previous_, nullptr) == 0)
            ::munmap(memory_, guard + size);
    }
    SignalStack(SignalStack const &) = delete;
    SignalStack & operator=(SignalStack const &) = delete;

  private:
    static constexpr std::size_t size = 65536;
    static constexpr std::size_t guard = 65536;

    void * memory_ = MAP_FAILED;
    stack_t previous_{};
};

/// Where the guarded work is left, and by which thread.
sigjmp_buf wayOut;
pthread_t guardedThread;

void leaveGuardedWork(int signal)
{
    if (::pthread_equal(::pthread_self(), guardedThread))
        ::siglongjmp(wayOut, 1);
    if (signal == SIGALRM)
        ::pthread_kill(guardedThread, signal);
    else
        for (;;) // until the guarded thread ends the process
            ::pause();
}

} // namespace

bool runGuarded(void (*work)(void *), void * data)
{
    constexpr unsigned patienceSeconds = 3;
    constexpr int signals[] = {SIGSEGV, SIGABRT, SIGFPE, SIGILL, SIGBUS, SIGTRAP, SIGALRM};
    static struct sigaction before[std::size(signals)]; // survives the jump
    struct sigaction leave {
    };
    leave.sa_handler = leaveGuardedWork;
    leave.sa_flags = SA_ONSTACK;
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

struct MinidumpWriter::Implementation {
    /// The one of the process.
    static Implementation * installed;

    std::mutex mutex; ///< for the folder and the dumps on demand
    std::string folder;
    Callback callback;
    std::unique_ptr<ExceptionHandler> handler;

    /// Sets up the handler of the crashes; an old one goes only when the new one stands.
    void install(NativeName const & dumpFolder)
    {
        folder = dumpFolder;
        handler = std::make_unique<ExceptionHandler>(MinidumpDescriptor(folder), nullptr,
                                                     reportCrash, &callback, true, -1);
    }

    /// The handler has named the file of the next crash, which must not be that of a child, too.
    static void changeFileOfChild()
    {
        if (installed)
            installed->handler->set_minidump_descriptor(MinidumpDescriptor(installed->folder));
    }

    /// The callback comes when the dump is done and nothing is held any more.
    bool writeOnDemand(DumpReason reason, EXCEPTION_RECORD const & record, void * context)
    {
        Demand demand;
        bool const succeeded = dump(demand, record, context);
        return callback({demand.file.c_str(), reason, succeeded});
    }

  private:
    bool dump(Demand & demand, EXCEPTION_RECORD const & record, void * context)
    {
        std::lock_guard const lock(mutex);
        ExceptionHandler once(MinidumpDescriptor(folder), takeDemand, noteDemanded, &demand, false,
                              -1);
        siginfo_t signal{};
        signal.si_signo = static_cast<int>(record.ExceptionCode);
        signal.si_code = static_cast<int>(record.ExceptionFlags);
        signal.si_addr = record.ExceptionAddress;
        // What the handler does itself only for signals of the system.
        ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
        return once.HandleSignal(signal.si_signo, &signal, context);
    }
};

MinidumpWriter::Implementation * MinidumpWriter::Implementation::installed = nullptr;

MinidumpWriter::MinidumpWriter(NativeName const & folder, Callback callback)
    : implementation_(std::make_unique<Implementation>())
{
    implementation_->callback = callback;
    implementation_->install(folder);
    Implementation::installed = implementation_.get();
    ::pthread_atfork(nullptr, nullptr, Implementation::changeFileOfChild);
}

MinidumpWriter::~MinidumpWriter()
{
    Implementation::installed = nullptr;
}

void MinidumpWriter::setFolder(NativeName const & folder)
{
    std::lock_guard const lock(implementation_->mutex);
    implementation_->install(folder);
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

void prepareThreadForCrash()
{
    thread_local SignalStack const stack;
    static_cast<void>(stack);
}

} // namespace ox::platform
