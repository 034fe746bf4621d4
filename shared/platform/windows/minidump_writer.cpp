#include "shared/platform/minidump_writer.h"

#include "client/windows/handler/exception_handler.h"

#include <atomic>
#include <csignal>
#include <mutex>

#include <windows.h>

namespace ox::platform
{
namespace
{

using google_breakpad::ExceptionHandler;
using SignalHandler = void (*)(int);

/// Exception code in the dump of an abort(), for which the system defines no code.
constexpr DWORD abortCode = 0xE0000001;

/// Returns the exit code with which GuardThread ends the process after this exception.
DWORD exitCodeOf(EXCEPTION_POINTERS const & exception)
{
    constexpr DWORD afterAbort = 3;
    DWORD const code = exceptionCode(exception);
    return code == abortCode ? afterAbort : code;
}

/// A thread that is started before any crash, since no thread can be started after a crash. It ends
/// the process if the handling of a crash hangs. It also runs functions that may crash or hang; the
/// caller waits for such a function only for a limited time.
class GuardThread
{
  public:
    GuardThread() : thread_(::CreateThread(nullptr, 0, loop, this, 0, nullptr)) {}

    /// Ends the process with `exitCode` if 60 seconds pass without a call of run() or
    /// stopKillTimer(). Without the timer, the process would hang if the dump library waits for a
    /// lock that the crashed thread holds.
    void startKillTimer(DWORD exitCode)
    {
        exitCode_ = exitCode;
        setTimeout(60000);
    }
    void stopKillTimer() { setTimeout(INFINITE); }
    void endProcess() const { ::TerminateProcess(::GetCurrentProcess(), exitCode_); }

    bool run(void (*work)(void *), void * data)
    {
        constexpr DWORD timeoutMs = 3000;
        if (!thread_ || hasTimedOut_)
            return false;
        work_ = work;
        data_ = data;
        ::SetEvent(begin_);
        hasTimedOut_ = ::WaitForSingleObject(end_, timeoutMs) != WAIT_OBJECT_0;
        return !hasTimedOut_;
    }

  private:
    static DWORD WINAPI loop(void * self)
    {
        auto & guard = *static_cast<GuardThread *>(self);
        HANDLE const events[] = {guard.begin_, guard.change_};
        for (;;) {
            switch (::WaitForMultipleObjects(2, events, FALSE, guard.timeoutMs_)) {
            case WAIT_OBJECT_0:
                guard.work_(guard.data_);
                ::SetEvent(guard.end_);
                break;
            case WAIT_OBJECT_0 + 1:
                break;
            default:
                guard.endProcess();
            }
        }
    }

    void setTimeout(DWORD milliseconds)
    {
        timeoutMs_ = milliseconds;
        ::SetEvent(change_);
    }

    HANDLE const change_ = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE const begin_ = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE const end_ = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::atomic<DWORD> timeoutMs_ = INFINITE;
    std::atomic<DWORD> exitCode_ = 1;
    void (*work_)(void *) = nullptr;
    void * data_ = nullptr;
    bool hasTimedOut_ = false;
    HANDLE const thread_;
};

/// Returns the guard thread. It is never destroyed, since it runs until the process ends.
GuardThread & guardThread()
{
    static GuardThread & thread = *new GuardThread;
    return thread;
}

// Breakpad's own exception filter removes itself while it writes a dump: a crash of another thread
// would then end the process before the dump is complete. After the dump the filter is installed
// again: a crash of another thread would then begin a second dump while the process ends. The
// filter in this file lets only one thread write a dump.

LPTOP_LEVEL_EXCEPTION_FILTER dumpFilter = nullptr; ///< Breakpad's filter
LPTOP_LEVEL_EXCEPTION_FILTER earlierFilter = nullptr;
SignalHandler earlierAbortHandler = SIG_DFL;

constexpr DWORD noThread = 0;
std::atomic<DWORD> crashingThread = noThread;
std::atomic<EXCEPTION_POINTERS const *> crash = nullptr;
std::atomic<DWORD> dumpThread = noThread; ///< Breakpad's thread that writes dumps

void pauseShortly()
{
    ::Sleep(10);
}

/// Waits while another thread handles its crash, which usually ends the process.
void waitForCrash()
{
    while (crashingThread != noThread && crashingThread != ::GetCurrentThreadId())
        pauseShortly();
}

/// Passes an exception on to the earlier filter. Called if Breakpad does not handle the exception,
/// or if the crashing thread crashes again.
LONG passOn(EXCEPTION_POINTERS * exception)
{
    guardThread().stopKillTimer();
    return earlierFilter ? earlierFilter(exception) : EXCEPTION_CONTINUE_SEARCH;
}

/// Ends the process after a crash of the thread that is writing a dump.
void endWithoutDump(EXCEPTION_POINTERS const & exception)
{
    if (crashingThread == noThread)
        guardThread().startKillTimer(exitCodeOf(exception));
    guardThread().endProcess();
}

LONG WINAPI onCrash(EXCEPTION_POINTERS * exception)
{
    DWORD const self = ::GetCurrentThreadId();
    if (self == dumpThread)
        endWithoutDump(*exception);
    DWORD present = noThread;
    while (!crashingThread.compare_exchange_strong(present, self)) {
        if (present == self)
            return passOn(exception);
        present = noThread;
        pauseShortly();
    }
    guardThread().startKillTimer(exitCodeOf(*exception));
    crash = exception;
    LONG const action = dumpFilter(exception);
    ::SetUnhandledExceptionFilter(onCrash); // Breakpad has installed its own filter
    if (action == EXCEPTION_CONTINUE_EXECUTION) {
        crash = nullptr;
        crashingThread = noThread;
    }
    return action;
}

/// Handles an abort() like a crash, since the system does not report it as an exception. Returns to
/// abort() if the crash is passed on.
void onAbort(int signal)
{
    // Another thread may call abort(), too, and the run-time library has removed the handler.
    std::signal(SIGABRT, onAbort);
    EXCEPTION_RECORD record{};
    CONTEXT context{};
    ::RtlCaptureContext(&context);
    record.ExceptionCode = abortCode;
    record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
    record.ExceptionAddress = reinterpret_cast<void *>(&onAbort);
    EXCEPTION_POINTERS exception{&record, &context};
    if (onCrash(&exception) == EXCEPTION_EXECUTE_HANDLER)
        guardThread().endProcess();
    if (earlierAbortHandler != SIG_DFL && earlierAbortHandler != SIG_IGN)
        earlierAbortHandler(signal);
}

/// Installs the crash handlers of the system and of the run-time library. The destructor restores
/// the earlier handlers.
class CrashFilters
{
  public:
    CrashFilters()
    {
        guardThread(); // a thread cannot be started after a crash
        earlierFilter = ::SetUnhandledExceptionFilter(onCrash);
        earlierAbortHandler = std::signal(SIGABRT, onAbort);
    }
    /// Installs onCrash in place of Breakpad's filter. In a crash, onCrash calls Breakpad's filter.
    /// If this does not handle the crash, it calls onCrash again, which passes the crash on.
    void setDumpFilter() { dumpFilter = ::SetUnhandledExceptionFilter(onCrash); }
    ~CrashFilters()
    {
        std::signal(SIGABRT, earlierAbortHandler);
        ::SetUnhandledExceptionFilter(earlierFilter);
    }
    CrashFilters(CrashFilters const &) = delete;
    CrashFilters & operator=(CrashFilters const &) = delete;
};

} // namespace

bool runGuarded(void (*work)(void *), void * data)
{
    return guardThread().run(work, data);
}

class MinidumpWriter::Implementation
{
  public:
    Implementation(NativeName const & folder, Callback callback)
        : callback_(callback), handler_(folder, begin, report, this, ExceptionHandler::HANDLER_ALL)
    {
        filters_.setDumpFilter();
    }
    ~Implementation() { waitForCrash(); }

    void setFolder(NativeName const & folder)
    {
        std::lock_guard const lock(mutex_);
        handler_.set_dump_path(folder);
    }

    /// Writes a dump. Then releases the mutex and calls the callback. A crash in the callback is
    /// handled as a crash of the calling thread.
    bool writeOnDemand(DumpReason reason, EXCEPTION_POINTERS & exception)
    {
        NativeName file;
        bool succeeded;
        {
            std::lock_guard const lock(mutex_);
            waitForCrash();
            onDemand_ = &exception;
            succeeded = handler_.WriteMinidumpForException(&exception);
            onDemand_ = nullptr;
            file.swap(onDemandFile_);
        }
        return callback_({file.c_str(), reason, succeeded});
    }

  private:
    /// Returns true for the crash that onCrash handles and for a dump on demand. No other dump is
    /// written: while Breakpad's own filter is installed, a second crash calls this function, too.
    static bool begin(void * self, EXCEPTION_POINTERS * exception, MDRawAssertionInfo *)
    {
        dumpThread = ::GetCurrentThreadId();
        EXCEPTION_POINTERS const * const crashed = crash;
        return exception == (crashed ? crashed : static_cast<Implementation *>(self)->onDemand_);
    }

    static bool report(wchar_t const * folder, wchar_t const * id, void * self,
                       EXCEPTION_POINTERS * exception, MDRawAssertionInfo *, bool succeeded)
    {
        auto & writer = *static_cast<Implementation *>(self);
        wchar_t file[MAX_PATH];
        ::swprintf(file, MAX_PATH, L"%ls\\%ls.dmp", folder, id);
        if (exception != writer.onDemand_)
            return writer.callback_({file, DumpReason::Crash, succeeded});
        writer.onDemandFile_ = file;
        return succeeded;
    }

    Callback const callback_;
    std::mutex mutex_;                              ///< protects the folder and the dumps on demand
    EXCEPTION_POINTERS const * onDemand_ = nullptr; ///< exception of the dump on demand
    NativeName onDemandFile_;                       ///< file of the dump on demand
    CrashFilters filters_;
    ExceptionHandler handler_;
};

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
    EXCEPTION_RECORD record{};
    CONTEXT context{};
    ::RtlCaptureContext(&context);
    record.ExceptionCode = code;
    record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
    EXCEPTION_POINTERS exception{&record, &context};
    return implementation_->writeOnDemand(DumpReason::Request, exception);
}

bool MinidumpWriter::write(EXCEPTION_POINTERS & exception)
{
    return exception.ExceptionRecord && exception.ContextRecord &&
           implementation_->writeOnDemand(DumpReason::Exception, exception);
}

std::uint32_t exceptionCode(EXCEPTION_POINTERS const & exception)
{
    return exception.ExceptionRecord ? exception.ExceptionRecord->ExceptionCode : 0;
}

void prepareThreadForCrash()
{
    ULONG reservedBytes = 32768;
    ::SetThreadStackGuarantee(&reservedBytes);
}

} // namespace ox::platform
