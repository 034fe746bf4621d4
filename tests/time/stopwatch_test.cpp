#include "shared/time/stopwatch.h"

#include <gtest/gtest.h>

#include <QString>

#include <chrono>
#include <thread>

namespace
{

TEST(Stopwatch, CountsAcrossTheOverflowOfTheTicks)
{
    using ox::time::ticksBetween;
    EXPECT_EQ(ticksBetween(0xFFFFFF00, 0x00000100), 512);
    EXPECT_EQ(ticksBetween(0, 0x80000000), 0) << "2^31 ms overflow";
    EXPECT_EQ(ticksBetween(1, 0), 0x7FFFFFFF) << "never negative";
}

TEST(Stopwatch, MeasuresSinceItsLastStart)
{
    oxTimer timer;
    auto const before = std::chrono::steady_clock::now();
    timer.start();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    int const elapsed = timer.elapsed();
    std::chrono::duration<double, std::milli> const passed =
        std::chrono::steady_clock::now() - before;
    EXPECT_GE(elapsed, 50 - 16) << "a tick may be as long as 16 ms";
    EXPECT_LE(elapsed, passed.count() + 16);

    timer.startTicks -= 100000;
    timer.reserved = 7;
    int const restarted = timer.restart();
    EXPECT_GE(restarted, elapsed + 100000);
    EXPECT_EQ(timer.reserved, 0);
    EXPECT_LT(timer.elapsed(), 50000);
}

TEST(Stopwatch, ShowsSeconds)
{
    oxTimer timer;
    timer.startTicks -= 500'000;
    for (QString const & text : {timer.elapsedString(), timer.restartAndString()})
        EXPECT_TRUE(text.startsWith(QLatin1String("50")) && text.size() == 8 && text[3] == u'.' &&
                    text.endsWith(u's'))
            << qPrintable(text);
    EXPECT_LT(timer.elapsed(), 500'000);
}

} // namespace
