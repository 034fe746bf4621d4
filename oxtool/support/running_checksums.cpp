#include "oxtool/support/running_checksums.h"

#include "shared/data/checksum.h"

#include <algorithm>
#include <array>

namespace ox::tool
{

RunningChecksums::RunningChecksums()
{
    oxCRCInitialize();
}

// oxCRCCalc16() and oxCRCCalc64() always start with a CRC register of 0. To continue from another
// register value, the value is XORed into the first bytes. If there are fewer bytes than the
// register has, the rest of the value is XORed into the result.
void RunningChecksums::add(std::span<unsigned char> bytes)
{
    auto const length = static_cast<unsigned int>(bytes.size());
    size_ += length;
    crc8_ ^= oxCRCCalc8(bytes.data(), length, false);
    oxCRCPartial(&crc32_, bytes.data(), length);

    auto const first = bytes.first(std::min<std::size_t>(length, sizeof crc64_));
    std::array<unsigned char, sizeof crc64_> original;
    std::copy(first.begin(), first.end(), original.begin());

    for (unsigned char & byte : first) {
        byte ^= static_cast<unsigned char>(crc64_);
        crc64_ >>= 8;
    }
    crc64_ ^= oxCRCCalc64(bytes.data(), length);
    std::copy_n(original.begin(), first.size(), first.begin());

    for (unsigned char & byte : first) {
        byte ^= static_cast<unsigned char>(crc16_ >> 8);
        crc16_ = static_cast<std::uint16_t>(crc16_ << 8);
    }
    crc16_ = static_cast<std::uint16_t>(crc16_ ^ oxCRCCalc16(bytes.data(), length));
    std::copy_n(original.begin(), first.size(), first.begin());
}

} // namespace ox::tool
