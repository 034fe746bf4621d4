#pragma once

#include "shared/platform/windows/performance_data.h"

namespace ox::platform
{

/// Asks the system for the performance data of one object. Returns the part of the buffer that it
/// filled; empty on failure, with the last error set.
std::optional<std::span<char const>> queryPerformanceData(Title object, std::span<char> buffer);

} // namespace ox::platform
