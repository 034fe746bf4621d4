#include "oxtool/support/stop.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/platform/result.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <shared_mutex>
#include <utility>
#include <vector>

namespace ox::tool
{
namespace
{

/// Maximum time that a stop request is deferred.
constexpr std::chrono::seconds longestDeferral(5);

struct State {
    std::shared_timed_mutex deferrals; ///< shared by all threads that defer stop requests
    std::mutex entry;                  ///< held by a stop request, so that no deferral begins
    std::mutex change;                 ///< held while the members below change
    std::vector<StopGuard *> guards;
    StopHandler::Handler handler;
    platform::Error installError; ///< code 0 if stop requests are handled
};

/// Never destroyed: a stop request can arrive during the last statements of main.
State & state()
{
    static State & instance = *new State;
    return instance;
}

/// Defers stop requests in its scope. A stop request waits until the running deferrals have ended;
/// meanwhile no new deferral begins.
class Deferral
{
  public:
    Deferral()
    {
        std::lock_guard const entry(state().entry);
        state().deferrals.lock_shared();
    }
    ~Deferral() { state().deferrals.unlock_shared(); }
    Deferral(Deferral const &) = delete;
    Deferral & operator=(Deferral const &) = delete;
};

} // namespace

bool StopGuard::acquire(Acquire const & acquire, Release release, Message stopMessage)
{
    if (state().installError.code != 0)
        throw Failure(QStringLiteral("cannot start a thread for stop requests: %1")
                          .arg(reasonOf(state().installError)));
    Deferral const deferral;
    if (!acquire())
        return false;
    std::lock_guard const change(state().change);
    release_ = std::move(release);
    stopMessage_ = std::move(stopMessage);
    state().guards.push_back(this);
    return true;
}

bool StopGuard::complete(std::function<bool()> const & complete)
{
    Deferral const deferral;
    if (!complete())
        return false;
    std::lock_guard const change(state().change);
    std::erase(state().guards, this);
    release_ = nullptr;
    return true;
}

void StopGuard::release()
{
    if (!release_)
        return;
    complete([this] {
        release_();
        return true;
    });
}

/// Releases the resources of all guards and ends the process. The caller blocks new deferrals, so
/// that no further resource is acquired.
void endByStopRequest(platform::StopRequest request)
{
    auto & guards = state().guards;
    std::for_each(guards.rbegin(), guards.rend(), [](StopGuard * guard) {
        guard->release_();
        QString const message = guard->stopMessage_ ? guard->stopMessage_() : QString();
        if (!message.isEmpty()) {
            Progress::erase();
            writeError(message);
        }
    });
    platform::endAsRequested(request);
}

namespace
{

/// Ends the process without releasing any resource, since the share may never respond.
void endDuringWork(platform::StopRequest request)
{
    writeError(QStringLiteral("stopped during a file operation: a lock file or a temporary file "
                              "may remain"));
    platform::endAsRequested(request);
}

} // namespace

void deferStopRequests(std::function<void()> const & work)
{
    Deferral const deferral;
    work();
}

void installStopHandling()
{
    state();
    bool const isInstalled = platform::answerStopRequests([](platform::StopRequest request) {
        std::lock_guard const entry(state().entry);
        std::unique_lock const deferrals(state().deferrals, longestDeferral);
        if (!deferrals.owns_lock())
            endDuringWork(request);
        else if (state().handler)
            state().handler(request);
        else
            endByStopRequest(request);
    });
    if (!isInstalled)
        state().installError = platform::lastError();
}

StopHandler::StopHandler(std::function<Handler()> const & start)
{
    Deferral const deferral;
    Handler handler = start();
    std::lock_guard const change(state().change);
    state().handler = std::move(handler);
}

StopHandler::~StopHandler()
{
    Deferral const deferral;
    std::lock_guard const change(state().change);
    state().handler = nullptr;
}

} // namespace ox::tool
