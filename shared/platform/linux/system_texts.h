#pragma once

#include "shared/platform/machine.h"
#include "shared/platform/user.h"

#include <filesystem>
#include <string_view>

namespace ox::platform
{

/// Returns name and version from the text of an os-release file: "Debian GNU/Linux 12". Empty
/// without a name.
std::u16string systemNameOf(std::string_view osRelease);

/// Parses the text of /proc/cpuinfo. Sets all members except `count`.
Processors processorsOf(std::string_view cpuInfo);

/// Returns the bytes in the line of /proc/meminfo with this name, such as "MemTotal". Empty if the
/// text does not contain the line.
std::optional<std::uint64_t> memoryField(std::string_view memoryInfo, std::string_view name);

/// Returns the sample in the text of /proc/stat; empty if the text is not valid. The time of the
/// sample is the sum of all times in the text, so two samples of the same text have the same time.
std::optional<IdleSample> idleSampleOf(std::string_view stat, long ticksPerSecond);

/// Returns the folder of the first disk, by name, that is a physical device and not removable.
/// `blockDevices` is the kernel's folder of block devices. Empty without such a disk.
std::filesystem::path firstDiskIn(std::filesystem::path const & blockDevices);

/// Returns the description in the kernel's folder of a disk. Sets all members except `smartTable`.
Disk describedDisk(std::filesystem::path const & folder, bool withTemperature);

/// Returns the lowest user id of an account for people: UID_MIN in the text of /etc/login.defs, or
/// 1000 if the text does not contain it.
std::uint32_t firstUserId(std::string_view loginDefs);

} // namespace ox::platform
