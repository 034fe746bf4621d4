#pragma once

#include "shared/platform/result.h"

#include <cstdint>
#include <ctime>
#include <optional>

namespace ox::platform
{

// A file time on Windows (FILETIME) counts ticks of 100 ns since 1601-01-01 UTC.
inline constexpr std::int64_t ticksPerSecond = 10'000'000;
inline constexpr std::int64_t secondsFrom1601To1970 = 11'644'473'600;

/// Returns the current time in seconds since 1970-01-01 UTC. All times below have this unit.
std::int64_t currentTime();

/// Returns the local calendar fields of a time. Applies the time zone's rules for that date. If the
/// C library does not support the year, the result is empty.
std::optional<std::tm> localFields(std::int64_t time);

/// Converts local calendar fields to a time. `tm_isdst` states whether the fields are in
/// daylight-saving time. Normalises fields out of range and corrects `tm_isdst`. If the time is not
/// representable, returns -1.
std::int64_t timeOfLocalFields(std::tm & fields);

/// Converts UTC calendar fields to a time.
std::int64_t timeOfUtcFields(std::tm fields);

/// Returns the milliseconds since the system started. Counts the time in which the machine sleeps,
/// too. The number has 32 bits and restarts at 0 every 49.7 days.
std::uint32_t tickCount();

/// Local time to which setLocalClock sets the machine's clock.
struct LocalClock {
    std::uint16_t year;         ///< 1601 to 30827
    std::uint16_t month;        ///< 1 (January) to 12 (December)
    std::uint16_t weekDay;      ///< 0 (Sunday) to 6 (Saturday)
    std::uint16_t day;          ///< 1 to 31
    std::uint16_t hour;         ///< 0 to 23
    std::uint16_t minute;       ///< 0 to 59
    std::uint16_t second;       ///< 0 to 59
    std::uint16_t milliseconds; ///< 0 to 999
    bool isDaylightSaving;      ///< selects one of two equal local times in autumn; Linux only
};

/// Sets the machine's clock.
/// Fails: when the user lacks the right to do so, or the system rejects the time.
Result<> setLocalClock(LocalClock const & clock);

} // namespace ox::platform
