#include "shared/platform/minidump_writer.h"

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

/// The code of an abort() in the dump, since the system has none.
constexpr DWORD abortCode = 0xE0000001;

/// What the process ends with without its dump.
DWORD exitCodeOf(EXCEPTION_POINTERS const & exception)
{
    constexpr DWORD afterAbort = 3;
    DWORD const code = exceptionCode(exception);
    return code == abortCode ? afterAbort : code;
}

LPTOP_LEVEL_EXCEPTION_FILTER crashFilter = nullptr;
SignalHandler earlierAbortHandler = SIG_DFL;

/// Reports an abort(), which is no exception to the system, as a crash. abort() then goes on.
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
    crashFilter(&exception);
    if (earlierAbortHandler != SIG_DFL && earlierAbortHandler != SIG_IGN)
        earlierAbortHandler(signal);
}

/// Keeps a thread that crashes during guarded work from ending the process before its time.
LONG WINAPI waitForEnd(EXCEPTION_POINTERS *)
{
    for (;;)
        ::Sleep(INFINITE);
}

/// A thread that is there from the first on, since none can be started after a crash. It ends the
/// process when the dump library hangs, and does work that the process shall outlive.
class GuardThread
{
  public:
    GuardThread() : thread_(::CreateThread(nullptr, 0, loop, this, 0, nullptr)) {}

    /// To be called before the dump of a crash; run() is to be called after it. The process is
    /// ended with the exit code if that takes too long.
    void expectRun(DWORD exitCode)
    {
        exitCode_ = exitCode;
        ::SetEvent(crash_);
    }

    bool run(void (*work)(void *), void * data)
    {
        constexpr DWORD patienceMs = 3000;
        if (!thread_ || isLost_)
            return false;
        work_ = work;
        data_ = data;
        auto const before = ::SetUnhandledExceptionFilter(waitForEnd);
        ::SetEvent(begin_);
        isLost_ = ::WaitForSingleObject(end_, patienceMs) != WAIT_OBJECT_0;
        ::SetUnhandledExceptionFilter(before);
        return !isLost_;
    }

  private:
    static DWORD WINAPI loop(void * self)
    {
        // The dump library needs a lock that the crash left taken.
        constexpr DWORD dumpPatienceMs = 30000;
        auto & guard = *static_cast<GuardThread *>(self);
        HANDLE const events[] = {guard.begin_, guard.crash_};
        for (;;) {
            if (::WaitForMultipleObjects(2, events, FALSE, INFINITE) != WAIT_OBJECT_0 &&
                ::WaitForSingleObject(guard.begin_, dumpPatienceMs) != WAIT_OBJECT_0)
                ::TerminateProcess(::GetCurrentProcess(), guard.exitCode_);
            guard.work_(guard.data_);
            ::SetEvent(guard.end_);
        }
    }

    HANDLE const crash_ = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE const begin_ = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE const end_ = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
    DWORD exitCode_ = 0;
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

} // namespace

bool runGuarded(void (*work)(void *), void * data)
{
    return guardThread().run(work, data);
}

struct MinidumpWriter::Implementation {
    Callback const callback;
    std::mutex mutex;                              ///< for the folder and the dumps on demand
    EXCEPTION_POINTERS const * onDemand = nullptr; ///< what a dump on demand is written for
    NativeName demanded;                           ///< the file that it was written to
    GuardThread & guard = guardThread();           ///< is there before the first crash
    ExceptionHandler handler;

    Implementation(NativeName const & folder, Callback given)
        : callback(given), handler(folder, begin, report, this, ExceptionHandler::HANDLER_ALL)
    {
        crashFilter = ::SetUnhandledExceptionFilter(nullptr);
        ::SetUnhandledExceptionFilter(crashFilter);
        earlierAbortHandler = std::signal(SIGABRT, onAbort);
    }
    ~Implementation() { std::signal(SIGABRT, earlierAbortHandler); }

    static bool begin(void * self, EXCEPTION_POINTERS * exception, MDRawAssertionInfo *)
    {
        auto const & writer = *static_cast<Implementation const *>(self);
        if (exception && exception != writer.onDemand)
            writer.guard.expectRun(exitCodeOf(*exception));
        return true;
    }

    static bool report(wchar_t const * folder, wchar_t const * id, void * self,
                       EXCEPTION_POINTERS * exception, MDRawAssertionInfo *, bool succeeded)
    {
        auto & writer = *static_cast<Implementation *>(self);
        wchar_t file[MAX_PATH];
        ::swprintf(file, MAX_PATH, L"%ls\\%ls.dmp", folder, id);
        if (exception != writer.onDemand)
            return writer.callback({file, DumpReason::Crash, succeeded});
        writer.demanded = file;
        return succeeded;
    }

    /// The callback comes when the dump is done and nothing is held any more; a crash in it is one
    /// of its thread.
    bool writeOnDemand(DumpReason reason, EXCEPTION_POINTERS & exception)
    {
        NativeName file;
        bool succeeded;
        {
            std::lock_guard const lock(mutex);
            onDemand = &exception;
            succeeded = handler.WriteMinidumpForException(&exception);
            onDemand = nullptr;
            file.swap(demanded);
        }
        return callback({file.c_str(), reason, succeeded});
    }
};

MinidumpWriter::MinidumpWriter(NativeName const & folder, Callback callback)
    : implementation_(std::make_unique<Implementation>(folder, callback))
{
}

MinidumpWriter::~MinidumpWriter() = default;

void MinidumpWriter::setFolder(NativeName const & folder)
{
    std::lock_guard const lock(implementation_->mutex);
    implementation_->handler.set_dump_path(folder);
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
