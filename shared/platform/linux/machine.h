#pragma once

#include "shared/platform/machine.h"

#include <string_view>

namespace ox::platform
{

/// "Debian GNU/Linux 12", from the text of an os-release file. Empty when that has no name.
std::u16string systemNameOf(std::string_view osRelease);

/// What the text of /proc/cpuinfo tells: all but the count.
Processors processorsOf(std::string_view cpuInfo);

} // namespace ox::platform
