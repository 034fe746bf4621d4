#pragma once

#include "shared/platform/program/stop_request.h"

#include <QString>

#include <functional>

namespace ox::tool
{

/// Something taken that must not outlive the process: a lock, a half-written file. It is given back
/// when the object ends and also when the process is asked to stop, and never twice.
class Holding
{
  public:
    using Take = std::function<bool()>;
    using GiveBack = std::function<void()>;
    using LastWord = std::function<QString()>;

    Holding() = default;
    ~Holding() { giveBack(); }
    Holding(Holding const &) = delete;
    Holding & operator=(Holding const &) = delete;

    /// Runs `take`, which should be quick: no stop request is acted upon meanwhile. When it says
    /// that it took something, `giveBack` is remembered, and `lastWord`: what to tell the user
    /// after it was given back because of a stop request, empty for nothing. Returns what `take`
    /// returned. Fails when the system had no thread for stop requests, since nothing would be
    /// given back then.
    bool take(Take const & take, GiveBack giveBack, LastWord lastWord = {});

    /// Runs what was remembered, if anything, and forgets it.
    void giveBack();

    /// Runs `finish` with no stop request acted upon meanwhile. When it returns true there is
    /// nothing left to give back. Returns what `finish` returned.
    bool finish(std::function<bool()> const & finish);

  private:
    friend void endByStopRequest(platform::StopRequest request);

    GiveBack giveBack_;
    LastWord lastWord_;
};

/// Runs `work`, which should be quick, with no stop request acted upon meanwhile.
void undisturbed(std::function<void()> const & work);

/// Gets the process ready for stop requests: one gives back all that is held, the last taken first,
/// and ends the process. When work that is not to be disturbed takes longer than five seconds (a
/// share that no longer answers), the process reports that it releases nothing, and ends.
/// To be called once, at the start.
void prepareForStopRequests();

/// While the object lives, stop requests go to a function and do not end the process. Requests that
/// came before `start` returned have ended it.
class StopRequestsGoTo
{
  public:
    using Answer = std::function<void(platform::StopRequest)>;

    /// Runs `start`, with no stop request acted upon meanwhile, for the function to call.
    explicit StopRequestsGoTo(std::function<Answer()> const & start);
    ~StopRequestsGoTo();
    StopRequestsGoTo(StopRequestsGoTo const &) = delete;
    StopRequestsGoTo & operator=(StopRequestsGoTo const &) = delete;
};

} // namespace ox::tool
