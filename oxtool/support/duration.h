#pragma once

#include <QString>

#include <chrono>
#include <optional>

namespace ox::tool
{

/// Parses a duration: a number with a unit, "250ms", "5s", "10min", "2h" or "7d". A number without
/// a unit is in units of `unit`. The number is decimal and has no sign ("1.5h"). The result is
/// rounded to milliseconds.
/// Fails: returns empty for any other text, and for a duration above 10000 days.
std::optional<std::chrono::milliseconds> parseDuration(QString const & text,
                                                       std::chrono::milliseconds unit);

} // namespace ox::tool
