#pragma once

#include "shared/platform/result.h"

#include <cstdint>
#include <ctime>
#include <optional>

namespace ox::platform
{

// The times of files on Windows count ticks since 1601-01-01 UTC.
inline constexpr std::int64_t ticksPerSecond = 10'000'000;
inline constexpr std::int64_t secondsFrom1601To1970 = 11'644'473'600;

/// Seconds since 1970-01-01 UTC. The conversions below count the same.
std::int64_t currentTime();

/// The local calendar fields of a time, by the time zone's rules for that date. Empty when the
/// system cannot express the year.
std::optional<std::tm> localFields(std::int64_t time);

/// The time of local calendar fields, which need not be in their ranges; `tm_isdst` says whether
/// they are daylight-saving time. The fields are brought into their ranges and `tm_isdst` is set to
/// what holds at that time. -1 when the system cannot express the time.
std::int64_t timeOfLocalFields(std::tm & fields);

/// The time of calendar fields in UTC.
std::int64_t timeOfUtcFields(std::tm fields);

/// Milliseconds since the system's start, the time it slept included, without the bits above 32:
/// the count begins again at 0 after 49.7 days.
std::uint32_t tickCount();

/// A local time as the machine's clock takes it. The numbers are the calendar's own: January is 1,
/// Sunday 0.
struct LocalClock {
    std::uint16_t year;
    std::uint16_t month;
    std::uint16_t weekDay;
    std::uint16_t day;
    std::uint16_t hour;
    std::uint16_t minute;
    std::uint16_t second;
    std::uint16_t milliseconds;
    bool isDaylightSaving; ///< tells the two halves of a repeated hour apart, where the system asks
};

/// Sets the machine's clock. Fails when the caller may not, or there is no such time.
Result<> setLocalClock(LocalClock const & clock);

} // namespace ox::platform
