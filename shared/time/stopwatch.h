#pragma once

#include "shared/export.h"

#include <QString>

#include <cstdint>

namespace ox::time
{

/// Milliseconds from one reading of the tick counter to another, also when the counter began again
/// at 0 between them. Intervals of 2^31 ms (24.8 days) and more deliberately wrap to small values:
/// the result is never negative.
constexpr int ticksBetween(std::uint32_t start, std::uint32_t now)
{
    return static_cast<int>((now - start) & 0x7FFFFFFF);
}

} // namespace ox::time

/// A stopwatch that counts milliseconds by the system's tick counter and runs from its
/// construction. Setting the system's clock does not change it. The resolution is that of the
/// counter: 1 ms on Linux, 10 to 16 ms on Windows.
///
///     oxTimer timer;
///     copyFrames();
///     QString const duration = timer.elapsedString();
class OX_EXPORT oxTimer
{
  public:
    oxTimer() { start(); }

    /// Starts from 0.
    void start();

    /// Milliseconds since the start, as far as 31 bits hold them.
    int elapsed() const;
    /// Returns the milliseconds since the start and starts from 0, with nothing lost between the
    /// two.
    int restart();

    /// The same as texts: ".250s", "1.500s". Up to one second the seconds are left out.
    QString elapsedString() const;
    QString restartAndString();

    std::uint32_t startTicks; ///< the tick counter at the last start
    std::int32_t reserved;    ///< 0 from every start; never read
};

static_assert(sizeof(oxTimer) == 8);
