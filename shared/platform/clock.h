#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

namespace ox::platform
{

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

} // namespace ox::platform
