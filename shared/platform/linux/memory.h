#pragma once

#include "shared/platform/memory.h"

#include <string_view>

namespace ox::platform
{

/// The bytes of one line of /proc/meminfo, such as "MemTotal". Empty when there is no such line.
std::optional<std::uint64_t> memoryField(std::string_view memoryInfo, std::string_view name);

} // namespace ox::platform
