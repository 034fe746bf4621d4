#pragma once

#include "shared/platform/machine.h"
#include "shared/platform/user.h"

#include <filesystem>
#include <string_view>

namespace ox::platform
{

/// "Debian GNU/Linux 12", from the text of an os-release file. Empty when that has no name.
std::u16string systemNameOf(std::string_view osRelease);

/// What the text of /proc/cpuinfo tells: all but the count.
Processors processorsOf(std::string_view cpuInfo);

/// The bytes of one line of /proc/meminfo, such as "MemTotal". Empty when there is no such line.
std::optional<std::uint64_t> memoryField(std::string_view memoryInfo, std::string_view name);

/// The sample in the text of /proc/stat. The moment is the time that the kernel has accounted for,
/// so that no time passes between two readings of the same accounts.
std::optional<IdleSample> idleSampleOf(std::string_view stat, long ticksPerSecond);

/// The first disk, by its name, that is a device of its own and stays in the machine. Empty when
/// the folder of the kernel's block devices has none.
std::filesystem::path firstDiskIn(std::filesystem::path const & blockDevices);

/// What the kernel's folder of a disk tells: all but the SMART table.
Disk describedDisk(std::filesystem::path const & folder, bool withTemperature);

/// The lowest id of an account that a person logs on with: UID_MIN in the text of /etc/login.defs,
/// 1000 where it has none.
std::uint32_t firstUserId(std::string_view loginDefs);

} // namespace ox::platform
