#pragma once

#include "shared/platform/machine.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

namespace ox::platform
{

/// Parses the storage descriptor (STORAGE_DEVICE_DESCRIPTOR) that a disk's driver returns: a header
/// of 32-bit little-endian words, which contain the offsets of texts. Empty if `answer` does not
/// contain the whole header. A text outside `answer` is ignored.
inline std::optional<Disk> parseStorageDescriptor(std::span<unsigned char const> answer)
{
    constexpr std::size_t headSize = 36, modelWord = 16, busWord = 28;
    if (answer.size() < headSize)
        return std::nullopt;
    auto const word = [answer](std::size_t offset) {
        return std::uint32_t{answer[offset]} | std::uint32_t{answer[offset + 1]} << 8 |
               std::uint32_t{answer[offset + 2]} << 16 | std::uint32_t{answer[offset + 3]} << 24;
    };

    Disk disk;
    std::size_t const model = word(modelWord);
    if (model >= headSize && model < answer.size()) {
        auto const text = answer.subspan(model);
        std::u16string const characters(text.begin(), std::ranges::find(text, 0));
        std::size_t const first = characters.find_first_not_of(u' ');
        if (first != std::u16string::npos)
            disk.model = characters.substr(first, characters.find_last_not_of(u' ') - first + 1);
    }
    switch (word(busWord)) {
    case 1:
        disk.bus = DiskBus::Scsi;
        break;
    case 3:
    case 11:
        disk.bus = DiskBus::Ata;
        break;
    case 8:
        disk.bus = DiskBus::Raid;
        break;
    case 10:
        disk.bus = DiskBus::Sas;
        break;
    default:
        disk.bus = DiskBus::Other;
    }
    return disk;
}

} // namespace ox::platform
