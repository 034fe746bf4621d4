#pragma once

#include "shared/platform/result.h"
#include "shared/platform/windows/performance_data.h"

namespace ox::platform
{

/// Queries the performance data of one object into `buffer`. Returns the part of the buffer that
/// the system has filled.
Result<std::span<char const>> queryPerformanceData(Title object, std::span<char> buffer);

/// Returns the error for performance data that does not contain the expected object. Error::step is
/// the same as after a failed query.
Error missingPerformanceData();

} // namespace ox::platform
