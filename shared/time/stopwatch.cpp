#include "shared/time/stopwatch.h"

#include "shared/platform/clock.h"
#include "shared/text/format.h"

namespace
{

QString secondsText(int milliseconds)
{
    return oxMill2s(milliseconds, false) + u's';
}

} // namespace

void oxTimer::start()
{
    startTicks = ox::platform::tickCount();
    reserved = 0;
}

int oxTimer::elapsed() const
{
    return ox::time::ticksBetween(startTicks, ox::platform::tickCount());
}

int oxTimer::restart()
{
    std::uint32_t const earlier = startTicks;
    start();
    return ox::time::ticksBetween(earlier, startTicks);
}

QString oxTimer::elapsedString() const
{
    return secondsText(elapsed());
}

QString oxTimer::restartAndString()
{
    return secondsText(restart());
}
