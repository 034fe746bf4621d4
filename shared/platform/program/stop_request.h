#pragma once

namespace ox::platform
{

/// A request to end the process: Ctrl-C, a termination request, or the closing of the terminal.
struct StopRequest {
    int signal;        ///< the system's number of the signal or event
    bool fromTerminal; ///< from the keyboard: child processes receive it, too
};

/// Installs the function `answer`. Each stop request then calls `answer` instead of ending the
/// process. The calls come one at a time, on a separate thread and not in a signal handler.
/// Requests that the process ignores from its start stay ignored. Call it once, before other
/// threads run.
/// Fails: if no thread can be created, returns false and sets the calling thread's last error. Stop
/// requests then end the process.
bool answerStopRequests(void (*answer)(StopRequest));

/// Ends the process as the stop request does by default, so that the parent process can detect the
/// request (a shell reports 128 + signal). Calls no destructors and flushes no streams.
[[noreturn]] void endAsRequested(StopRequest request);

} // namespace ox::platform
