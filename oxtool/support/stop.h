#pragma once

#include "shared/platform/program/stop_request.h"

#include <QString>

#include <functional>

namespace ox::tool
{

/// Releases a resource that must not outlive the process, such as a lock or a temporary file: at
/// the end of the scope, or when a stop request (Ctrl-C, SIGTERM) ends the process. Releases the
/// resource only once.
class StopGuard
{
  public:
    using Acquire = std::function<bool()>;
    using Release = std::function<void()>;
    using Message = std::function<QString()>;

    StopGuard() = default;
    ~StopGuard() { release(); }
    StopGuard(StopGuard const &) = delete;
    StopGuard & operator=(StopGuard const &) = delete;

    // While stop requests are deferred, a request waits, for five seconds at most. Several threads
    // may defer stop requests at the same time. Deferrals must not be nested.

    /// Runs `acquire` with stop requests deferred, and returns its result. `acquire` should be
    /// short. If it returns true, the guard stores `release` and `stopMessage`. A stop request
    /// calls `release`, and then writes the text of `stopMessage`, if not empty, to standard error.
    /// Fails: when stop requests cannot be handled, throws Failure and does not call `acquire`.
    bool acquire(Acquire const & acquire, Release release, Message stopMessage = {});

    /// Releases the resource. Has no effect if there is none.
    void release();

    /// Runs `complete` with stop requests deferred, and returns its result. If `complete` returns
    /// true, the guard forgets the resource and never calls `release`.
    bool complete(std::function<bool()> const & complete);

  private:
    friend void endByStopRequest(platform::StopRequest request);

    Release release_;
    Message stopMessage_;
};

/// Runs `work`, which should be short, with stop requests deferred.
void deferStopRequests(std::function<void()> const & work);

/// Installs the handling of stop requests: a request releases the resources of all StopGuards, the
/// last acquired first, and ends the process. If a request is deferred for more than five seconds,
/// as on a share that does not respond, the process reports this and ends without releasing the
/// resources. Call this function once, at the start of the program.
void installStopHandling();

/// Passes stop requests to a handler, instead of ending the process, while the object lives.
class StopHandler
{
  public:
    using Handler = std::function<void(platform::StopRequest)>;

    /// Runs `start` with stop requests deferred, and installs the handler that it returns. An
    /// earlier stop request ends the process before `start` runs.
    explicit StopHandler(std::function<Handler()> const & start);
    ~StopHandler();
    StopHandler(StopHandler const &) = delete;
    StopHandler & operator=(StopHandler const &) = delete;
};

} // namespace ox::tool
