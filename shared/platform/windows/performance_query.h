#pragma once

#include "shared/platform/result.h"
#include "shared/platform/windows/performance_data.h"

namespace ox::platform
{

/// Queries the performance data of one object. Returns the part of the buffer that the system
/// filled.
Result<std::span<char const>> queryPerformanceData(Title object, std::span<char> buffer);

/// Returns the error for performance data that does not contain the expected object. The step of
/// the error is that of the query.
Error missingPerformanceData();

} // namespace ox::platform
