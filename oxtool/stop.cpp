#include "oxtool/stop.h"

#include "oxtool/progress.h"
#include "oxtool/report.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace ox::tool
{
namespace
{

struct Shared {
    std::mutex mutex;
    std::vector<Holding *> held;
    StopRequestsGoTo::Answer answer;
};

/// Never destroyed: a stop request may come as late as the end of main.
Shared & shared()
{
    static Shared & instance = *new Shared;
    return instance;
}

} // namespace

bool Holding::take(Take const & take, GiveBack giveBack, LastWord lastWord)
{
    std::lock_guard const undisturbed(shared().mutex);
    if (!take())
        return false;
    giveBack_ = std::move(giveBack);
    lastWord_ = std::move(lastWord);
    shared().held.push_back(this);
    return true;
}

bool Holding::finish(std::function<bool()> const & finish)
{
    std::lock_guard const undisturbed(shared().mutex);
    if (!finish())
        return false;
    std::erase(shared().held, this);
    giveBack_ = nullptr;
    return true;
}

void Holding::giveBack()
{
    if (!giveBack_)
        return;
    finish([this] {
        giveBack_();
        return true;
    });
}

/// Keeps the mutex to the end, so that nothing is taken any more.
void endByStopRequest(platform::StopRequest request)
{
    std::for_each(shared().held.rbegin(), shared().held.rend(), [](Holding * holding) {
        holding->giveBack_();
        if (holding->lastWord_) {
            Progress::wipe();
            writeError(holding->lastWord_());
        }
    });
    platform::endAsRequested(request);
}

void undisturbed(std::function<void()> const & work)
{
    std::lock_guard const guard(shared().mutex);
    work();
}

void prepareForStopRequests()
{
    shared();
    platform::answerStopRequests([](platform::StopRequest request) {
        std::lock_guard const undisturbed(shared().mutex);
        if (shared().answer)
            shared().answer(request);
        else
            endByStopRequest(request);
    });
}

StopRequestsGoTo::StopRequestsGoTo(std::function<Answer()> const & start)
{
    std::lock_guard const undisturbed(shared().mutex);
    shared().answer = start();
}

StopRequestsGoTo::~StopRequestsGoTo()
{
    std::lock_guard const undisturbed(shared().mutex);
    shared().answer = nullptr;
}

} // namespace ox::tool
