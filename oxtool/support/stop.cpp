#include "oxtool/support/stop.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/report.h"
#include "shared/platform/result.h"
#include "shared/system/os_error.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <utility>
#include <vector>

namespace ox::tool
{
namespace
{

/// How long a stop request waits for work that it should not disturb.
constexpr std::chrono::seconds patience(5);

struct Shared {
    std::timed_mutex mutex;
    std::vector<Holding *> held;
    StopRequestsGoTo::Answer answer;
    int noAnswerBecause = 0; ///< the system's error
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
    if (shared().noAnswerBecause != 0)
        throw Failure(QStringLiteral("cannot start a thread for stop requests: %1")
                          .arg(QString(oxLastOSError(shared().noAnswerBecause))));
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
        QString const lastWord = holding->lastWord_ ? holding->lastWord_() : QString();
        if (!lastWord.isEmpty()) {
            Progress::wipe();
            writeError(lastWord);
        }
    });
    platform::endAsRequested(request);
}

namespace
{

/// The share has not answered for a long time, and may never.
void endInMidWork(platform::StopRequest request)
{
    writeError(QStringLiteral("stopped while a file operation was under way; a lock file or an "
                              "unfinished file may be left"));
    platform::endAsRequested(request);
}

} // namespace

void undisturbed(std::function<void()> const & work)
{
    std::lock_guard const guard(shared().mutex);
    work();
}

void prepareForStopRequests()
{
    shared();
    bool const isAnswering = platform::answerStopRequests([](platform::StopRequest request) {
        std::unique_lock const undisturbed(shared().mutex, patience);
        if (!undisturbed.owns_lock())
            endInMidWork(request);
        else if (shared().answer)
            shared().answer(request);
        else
            endByStopRequest(request);
    });
    if (!isAnswering)
        shared().noAnswerBecause = platform::lastError().code;
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
