#pragma once

namespace ox::platform
{

/// Somebody wants the process to end: Ctrl-C, a request to terminate, the terminal closed.
struct StopRequest {
    int signal;        ///< the system's number of the request
    bool fromTerminal; ///< given at the keyboard, so the child processes have it too
};

/// From now on a stop request does not end the process: `answer` is called with it, one call at a
/// time, on a thread that only does this, so it may do whatever a thread may do. Requests that the
/// process was started to ignore stay ignored. To be called once, before any other thread runs.
/// False when the system has no thread left, with its last error set: requests end the process.
bool answerStopRequests(void (*answer)(StopRequest));

/// Ends the process the way the request would have, so that the parent process sees it was
/// stopped (a shell shows 128 + signal). Runs no destructor and writes out no stream.
[[noreturn]] void endAsRequested(StopRequest request);

} // namespace ox::platform
