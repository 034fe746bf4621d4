#include "shared/platform/minidump_writer.h"

#include <atomic>
#include <csignal>
#include <mutex>

#include <windows.h>

#include "client/windows/handler/exception_handler.h"

namespace ox::platform
{
namespace
{

using google_breakpad::ExceptionHandler;
using SignalHandler = void (*)(int);

/// Exception code of an abort() in a dump; the system defines none.
constexpr DWORD abortCode = 0xE0000001;

/// What the process ends with without its dump.
DWORD exitCodeOf(EXCEPTION_POINTERS const & exception)
{
    constexpr DWORD afterAbort = 3;
    DWORD const code = exceptionCode(exception);
    return code == abortCode ? afterAbort : code;
}

/// A thread that is there from the first on, since none can be started after a crash. It ends the
/// process when the handling of a crash hangs, and does work that the process shall outlive.
class GuardThread
{
  public:
    GuardThread() : thread_(::CreateThread(nullptr, 0, loop, this, 0, nullptr)) {}

    /// Ends the process with the exit code if it has not ended, or called off, after half a minute
    /// without any work: the dump library may need a lock that the crash left taken.
    void expectEnd(DWORD exitCode)
    {
        exitCode_ = exitCode;
        setPatience(30000);
    }
    void callOff() { setPatience(INFINITE); }
    void endProcess() const { ::TerminateProcess(::GetCurrentProcess(), exitCode_); }

    bool run(void (*work)(void *), void * data)
    {
        constexpr DWORD patienceMs = 3000;
        if (!thread_ || isLost_)
            return false;
        work_ = work;
        data_ = data;
        ::SetEvent(begin_);
        isLost_ = ::WaitForSingleObject(end_, patienceMs) != WAIT_OBJECT_0;
        return !isLost_;
    }

  private:
    static DWORD WINAPI loop(void * self)
    {
        auto & guard = *static_cast<GuardThread *>(self);
        HANDLE const events[] = {guard.begin_, guard.change_};
        for (;;) {
            switch (::WaitForMultipleObjects(2, events, FALSE, guard.patienceMs_)) {
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

    void setPatience(DWORD milliseconds)
    {
        patienceMs_ = milliseconds;
        ::SetEvent(change_);
    }

    HANDLE const change_ = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE const begin_ = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE const end_ = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    std::atomic<DWORD> patienceMs_ = INFINITE;
    std::atomic<DWORD> exitCode_ = 1;
    void (*work_)(void *) = nullptr;
    void * data_ = nullptr;
    bool isLost_ = false;
    HANDLE const thread_;
};

/// Never destroyed, as its thread runs to the end of the process.
GuardThread & guardThread()
{
    static GuardThread & thread = *new GuardThread;
    return thread;
}

// Breakpad's own filter takes itself away while it writes a dump, so that a crash of another thread
// ends the process in the middle, and lets the next thread begin a dump while the first one ends
// the process. The filter here lets one thread in.

LPTOP_LEVEL_EXCEPTION_FILTER dumpFilter = nullptr; ///< Breakpad's
LPTOP_LEVEL_EXCEPTION_FILTER earlierFilter = nullptr;
SignalHandler earlierAbortHandler = SIG_DFL;

constexpr DWORD noThread = 0;
std::atomic<DWORD> crashingThread = noThread;
std::atomic<EXCEPTION_POINTERS const *> crash = nullptr;
std::atomic<DWORD> dumpThread = noThread; ///< Breakpad's, on which it writes

void pauseShortly()
{
    ::Sleep(10);
}

/// Waits for the end of the process while another thread handles its crash.
void awaitCrash()
{
    while (crashingThread != noThread && crashingThread != ::GetCurrentThreadId())
        pauseShortly();
}

/// Passes an exception to the earlier filter: one that Breakpad hands back, or one in that filter.
LONG passOn(EXCEPTION_POINTERS * exception)
{
    guardThread().callOff();
    return earlierFilter ? earlierFilter(exception) : EXCEPTION_CONTINUE_SEARCH;
}

/// A crash of the thread that writes the dumps, while it writes one.
void endWithoutDump(EXCEPTION_POINTERS const & exception)
{
    if (crashingThread == noThread)
        guardThread().expectEnd(exitCodeOf(exception));
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
    guardThread().expectEnd(exitCodeOf(*exception));
    crash = exception;
    LONG const action = dumpFilter(exception);
    ::SetUnhandledExceptionFilter(onCrash); // Breakpad has put its own there
    if (action == EXCEPTION_CONTINUE_EXECUTION) {
        crash = nullptr;
        crashingThread = noThread;
    }
    return action;
}

/// Reports an abort(), which is no exception to the system, as a crash. abort() goes on when the
/// crash is passed on.
void onAbort(int signal)
{
    // The run-time library has taken this handler away, but another thread may come.
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

/// The place of the crash handlers, the system's and the run-time library's.
class CrashFilters
{
  public:
    CrashFilters()
    {
        guardThread(); // cannot be started after a crash
        earlierFilter = ::SetUnhandledExceptionFilter(onCrash);
        earlierAbortHandler = std::signal(SIGABRT, onAbort);
    }
    /// Breakpad has put its own filter there, and takes the one that is there for the earlier one.
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
    ~Implementation() { awaitCrash(); }

    void setFolder(NativeName const & folder)
    {
        std::lock_guard const lock(mutex_);
        handler_.set_dump_path(folder);
    }

    /// The callback comes when the dump is done and nothing is held any more; a crash in it is one
    /// of its thread.
    bool writeOnDemand(DumpReason reason, EXCEPTION_POINTERS & exception)
    {
        NativeName file;
        bool succeeded;
        {
            std::lock_guard const lock(mutex_);
            awaitCrash();
            onDemand_ = &exception;
            succeeded = handler_.WriteMinidumpForException(&exception);
            onDemand_ = nullptr;
            file.swap(demanded_);
        }
        return callback_({file.c_str(), reason, succeeded});
    }

  private:
    /// A second crash can come here in the moment in which Breakpad's own filter is in place.
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
        writer.demanded_ = file;
        return succeeded;
    }

    Callback const callback_;
    std::mutex mutex_;                              ///< for the folder and the dumps on demand
    EXCEPTION_POINTERS const * onDemand_ = nullptr; ///< what a dump on demand is written for
    NativeName demanded_;                           ///< the file that it was written to
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
    ULONG room = 32768;
    ::SetThreadStackGuarantee(&room);
}

} // namespace ox::platform
