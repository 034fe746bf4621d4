#pragma once

#include "shared/data/crc.h"

#include <atomic>
#include <cstddef>
#include <span>

namespace ox::data
{

/// One implementation that advances a CRC register over `length` bytes. All implementations give
/// the same result.
template <class Crc>
struct CrcKernel {
    using Word = typename Crc::Word;

    char const * name;     ///< for reports, such as a benchmark's
    bool (*isSupported)(); ///< whether processor and operating system support it
    Word (*advance)(Word crc, unsigned char const * data, std::size_t length);
};

/// Returns all implementations of this build, the fastest first. The last one is supported on every
/// machine.
template <class Crc>
std::span<CrcKernel<Crc> const> crcKernels();

/// The fastest implementation that this machine supports. Before the first call, `advance` is a
/// function that selects it.
template <class Crc>
struct SelectedCrcKernel {
    static std::atomic<decltype(CrcKernel<Crc>::advance)> advance;
};
extern template struct SelectedCrcKernel<Crc16>;
extern template struct SelectedCrcKernel<Crc32>;
extern template struct SelectedCrcKernel<Crc64>;

/// Advances a CRC register over `length` bytes with the fastest implementation that this machine
/// supports. Inline, since a further function call would slow the checksum of short data.
template <class Crc>
inline typename Crc::Word advanceCrc(typename Crc::Word crc, unsigned char const * data,
                                     std::size_t length)
{
    if (length < 16) // every kernel uses tables here
        return advanceCrcShort<Crc>(crc, data, length);
    return SelectedCrcKernel<Crc>::advance.load(std::memory_order_relaxed)(crc, data, length);
}

} // namespace ox::data
