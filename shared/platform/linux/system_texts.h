#pragma once

#include "shared/platform/machine.h"
#include "shared/platform/user.h"

#include <filesystem>
#include <string_view>

namespace ox::platform
{

/// Returns the system's name and version from the text of an os-release file, such as "Debian
/// GNU/Linux 12". Empty if the text contains no name.
std::u16string systemNameOf(std::string_view osRelease);

/// Parses the text of /proc/cpuinfo. Sets all members except `count`.
Processors processorsOf(std::string_view cpuInfo);

/// Returns the value, in bytes, of a line in the text of /proc/meminfo. `name` is the name at the
/// start of the line, such as "MemTotal". Empty if the text does not contain the line.
std::optional<std::uint64_t> memoryField(std::string_view memoryInfo, std::string_view name);

/// Returns the sample in the text of /proc/stat; empty if the text is not valid. IdleSample::time
/// is the sum of all processor times in the text, divided by the number of processors.
std::optional<IdleSample> idleSampleOf(std::string_view stat, long ticksPerSecond);

/// Returns the folder of the disk whose name sorts first. Ignores removable disks and disks that
/// are not physical devices. `blockDevices` is the kernel's folder of block devices. Empty if no
/// disk matches.
std::filesystem::path firstDiskIn(std::filesystem::path const & blockDevices);

/// Returns the description of a disk; `folder` is its folder in /sys/block. Does not set
/// `smartTable`. Sets `temperature` only if `withTemperature` is true.
Disk describedDisk(std::filesystem::path const & folder, bool withTemperature);

/// Returns the lowest user id of an account for people: UID_MIN in the text of /etc/login.defs, or
/// 1000 if the text does not contain it.
std::uint32_t firstUserId(std::string_view loginDefs);

} // namespace ox::platform
