#pragma once

#include "shared/platform/processor_time.h"

#include <string_view>

namespace ox::platform
{

/// The sample in the text of /proc/stat. The moment is the time that the kernel has accounted for,
/// so that no time passes between two readings of the same accounts.
std::optional<IdleSample> idleSampleOf(std::string_view stat, long ticksPerSecond);

} // namespace ox::platform
