#include "shared/data/checksum.h"

#include "shared/data/crc.h"
#include "shared/data/crc_kernels.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <iterator>

using namespace ox::data;

namespace
{

// The process-wide table of the 32-bit checksum. Once the table is built, oxCRCPartial() uses
// faster kernels with their own constants instead.
// Compatibility: as long as the table is not built, its entries are 0 and oxCRCPartial() computes
// the wrong result that checksum.h describes.
std::atomic<std::uint32_t> crc32Table[256];
std::atomic<unsigned char> crc32TableIsBuilt;

std::uint32_t advanceByTable(std::uint32_t crc, unsigned char const * data, std::size_t length)
{
    for (std::size_t i = 0; i < length; ++i)
        crc = (crc >> 8) ^ crc32Table[(crc & 0xFF) ^ data[i]].load(std::memory_order_relaxed);
    return crc;
}

/// Returns the XOR of the bytes at even offsets in the low byte, and of the bytes at odd offsets in
/// the high byte.
unsigned int xorOfBytePairs(unsigned char const * data, std::size_t length)
{
    constexpr std::size_t lanes = 8;
    std::uint64_t sums[lanes] = {};
    for (; length >= sizeof sums; data += sizeof sums, length -= sizeof sums) {
        std::uint64_t words[lanes];
        std::memcpy(words, data, sizeof words);
        for (std::size_t i = 0; i < lanes; ++i)
            sums[i] ^= words[i];
    }
    std::uint64_t sum = 0;
    for (std::uint64_t const lane : sums)
        sum ^= lane;
    sum ^= sum >> 32;
    sum ^= sum >> 16;

    for (std::size_t i = 0; i < length; ++i)
        sum ^= std::uint64_t{data[i]} << (i % 2 * 8);
    return static_cast<unsigned int>(sum & 0xFFFF);
}

} // namespace

void oxCRCInitialize()
{
    for (std::size_t i = 0; i < std::size(crc32Table); ++i)
        crc32Table[i].store(crcTables<Crc32>[0][i], std::memory_order_relaxed);
    crc32TableIsBuilt.store(1, std::memory_order_release);
}

void oxCRCPartial(unsigned int * crc, unsigned char const * data, unsigned int len)
{
    bool const isBuilt = crc32TableIsBuilt.load(std::memory_order_acquire) != 0;
    *crc = isBuilt ? advanceCrc<Crc32>(*crc, data, len) : advanceByTable(*crc, data, len);
}

unsigned int oxCRCCalc(unsigned char const * data, unsigned int const & len)
{
    if (crc32TableIsBuilt.load(std::memory_order_acquire) == 0)
        oxCRCInitialize();
    return ~advanceCrc<Crc32>(0xFFFFFFFFu, data, len);
}

unsigned char oxCRCCalc8(unsigned char const * data, unsigned long len, bool everySecondByte)
{
    if (everySecondByte)
        return static_cast<unsigned char>(xorOfBytePairs(data, std::size_t{2} * len));
    unsigned int const pair = xorOfBytePairs(data, len);
    return static_cast<unsigned char>(pair ^ (pair >> 8));
}

unsigned short oxCRCCalc16(unsigned char const * data, unsigned long len)
{
    return advanceCrc<Crc16>(0, data, len);
}

std::uint64_t oxCRCCalc64(void const * data, unsigned long len)
{
    return advanceCrc<Crc64>(0, static_cast<unsigned char const *>(data), len);
}
