#pragma once

#include "shared/platform/disk_health.h"

#include <filesystem>

namespace ox::platform
{

/// The first disk, by its name, that is a device of its own and stays in the machine. Empty when
/// the folder of the kernel's block devices has none.
std::filesystem::path firstDiskIn(std::filesystem::path const & blockDevices);

/// What the kernel's folder of a disk tells: all but the SMART table.
Disk describedDisk(std::filesystem::path const & folder, bool withTemperature);

} // namespace ox::platform
