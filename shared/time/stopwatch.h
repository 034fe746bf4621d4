#pragma once

#include "shared/export.h"

#include <QString>

#include <cstdint>

namespace ox::time
{

/// Returns the milliseconds from the tick count `start` to the tick count `now`, even if the tick
/// counter restarted at 0 between them. Intervals of 2^31 ms (24.8 days) and more wrap around.
/// Compatibility: callers rely on results that are never negative.
constexpr int ticksBetween(std::uint32_t start, std::uint32_t now)
{
    return static_cast<int>((now - start) & 0x7FFFFFFF);
}

} // namespace ox::time

/// Stopwatch in milliseconds, based on the system's tick counter. Changes of the system clock do
/// not affect the stopwatch. The resolution is 1 ms on Linux and 10 to 16 ms on Windows.
///
///     oxTimer timer;
///     copyFrames();
///     QString const duration = timer.elapsedString();
class OX_EXPORT oxTimer
{
  public:
    /// Creates a stopwatch that starts from 0.
    oxTimer() { start(); }

    /// Restarts the stopwatch from 0.
    void start();

    /// Returns the milliseconds since the last start, 0 to 2^31 - 1; longer times wrap around.
    int elapsed() const;
    /// Returns the milliseconds since the last start, and restarts from 0. Reads the tick counter
    /// only once, so that consecutive results add up to the whole time.
    int restart();

    /// Returns the time since the last start as ".250s" or "1.500s". Up to 1000 ms, no digit
    /// precedes the point.
    QString elapsedString() const;
    /// Returns the time since the last start as ".250s" or "1.500s", and restarts from 0.
    QString restartAndString();

    std::uint32_t startTicks; ///< the tick counter in ms at the last start
    std::int32_t reserved;    ///< set to 0 by every start; never read
};

static_assert(sizeof(oxTimer) == 8);
