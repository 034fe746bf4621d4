#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ox::platform
{

enum class DiskBus { Ata, Sas, Scsi, Raid, Other };

/// What the first physical disk tells of itself.
struct Disk {
    std::u16string model;                  ///< empty when it does not say
    std::optional<DiskBus> bus;            ///< empty when it could be opened, but not asked
    std::vector<unsigned char> smartTable; ///< as the disk gave it, empty when it did not
    std::optional<int> temperature;        ///< in °C, where the system itself watches it
};

/// Empty when there is no such disk or it cannot be opened. The SMART table of an ATA disk and the
/// temperature are read only with `withHealth`.
std::optional<Disk> firstDisk(bool withHealth);

} // namespace ox::platform
