#pragma once

namespace ox::platform
{

/// A request to end the process: Ctrl-C, a termination request, or the terminal was closed.
struct StopRequest {
    int signal;        ///< the system's number of the signal or event
    bool fromTerminal; ///< from the keyboard: child processes receive it, too
};

/// Installs a function that is called for stop requests, which then no longer end the process. The
/// calls come one at a time on a separate thread, which may do anything a thread may do. Requests
/// that the process ignores from its start stay ignored. Call it once, before other threads run.
/// Fails: returns false and sets the thread's last error when no thread can be created; stop
/// requests then end the process.
bool answerStopRequests(void (*answer)(StopRequest));

/// Ends the process as the stop request does by default, so that the parent process detects it (a
/// shell reports 128 + signal). Calls no destructors and flushes no streams.
[[noreturn]] void endAsRequested(StopRequest request);

} // namespace ox::platform
