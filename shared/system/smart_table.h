#pragma once

#include <QString>

#include <array>
#include <optional>
#include <span>
#include <vector>

namespace ox::system
{

/// One attribute of the SMART table of a disk.
struct SmartAttribute {
    int id;                           ///< number of the attribute
    int status;                       ///< flags
    int value;                        ///< normalised; higher is better
    int worst;                        ///< lowest `value` so far
    std::array<unsigned char, 6> raw; ///< in the unit of the attribute, lowest byte first
    int reserved;                     ///< last byte of the attribute
};

/// Parses the SMART table of a disk; unused entries are omitted. Empty when the bytes are not a
/// SMART table: their number is not 512, or their sum is not 0 modulo 256.
std::optional<std::vector<SmartAttribute>> parseSmartTable(std::span<unsigned char const> table);

/// Returns the temperature in °C: attribute 194 or, if the disk does not have it, attribute 190.
/// Empty if the disk has neither.
std::optional<int> temperatureOf(std::span<SmartAttribute const> attributes);

/// Returns a line of a report: "194: status: 34 value: 67  worst: 40  Raw:33 0 0 0 0 0   Res: 0".
QString lineOf(SmartAttribute const & attribute);

} // namespace ox::system
