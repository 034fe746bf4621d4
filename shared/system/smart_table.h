#pragma once

#include <QString>

#include <array>
#include <optional>
#include <span>
#include <vector>

namespace ox::system
{

/// One attribute of a disk's health, as the disk counts it.
struct SmartAttribute {
    int id;
    int status; ///< flags
    int value;  ///< normalised; the higher the better
    int worst;
    std::array<unsigned char, 6> raw;
    int reserved;
};

/// The attributes in the SMART table of a disk, unused places left out. Empty when the bytes are no
/// such table: of another size than 512 bytes, or not adding up to 0.
std::optional<std::vector<SmartAttribute>> parseSmartTable(std::span<unsigned char const> table);

/// The temperature in °C: attribute 194 or, for disks that only have that, 190.
std::optional<int> temperatureOf(std::span<SmartAttribute const> attributes);

/// "194: status: 34 value: 67  worst: 40  Raw:33 0 0 0 0 0   Res: 0"
QString lineOf(SmartAttribute const & attribute);

} // namespace ox::system
