#pragma once

#include "shared/data/crc.h"

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

/// Advances a CRC register over `length` bytes with the fastest implementation that this machine
/// supports.
template <class Crc>
typename Crc::Word advanceCrc(typename Crc::Word crc, unsigned char const * data,
                              std::size_t length);

} // namespace ox::data
