#include "shared/platform/program/stop_request.h"

#include <cstdlib>
#include <mutex>

#include <windows.h>

namespace ox::platform
{
namespace
{

void (*answerOf)(StopRequest) = nullptr;

/// Handles a stop request. The system calls this function on a new thread for each request.
BOOL WINAPI onRequest(DWORD event)
{
    static std::mutex oneAtATime;
    {
        std::lock_guard const lock(oneAtATime);
        // The console sends a request to all its processes, so child processes receive it, too.
        answerOf({static_cast<int>(event), true});
    }
    bool const endsWithReturn = event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT;
    if (endsWithReturn)
        ::Sleep(INFINITE);
    return TRUE;
}

} // namespace

bool answerStopRequests(void (*answer)(StopRequest))
{
    answerOf = answer;
    return ::SetConsoleCtrlHandler(onRequest, TRUE);
}

void endAsRequested(StopRequest)
{
    ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(STATUS_CONTROL_C_EXIT));
    std::abort();
}

} // namespace ox::platform
