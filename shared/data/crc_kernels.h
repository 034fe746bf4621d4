#pragma once

#include <cstddef>
#include <span>

#include "shared/data/crc.h"

namespace ox::data
{

/// One way to advance a CRC register over `length` bytes. All ways give the same result.
template <class Crc>
struct CrcKernel {
    using Word = typename Crc::Word;

    char const * name;
    bool (*isSupported)(); ///< whether this processor and its operating system can do it
    Word (*advance)(Word crc, unsigned char const * data, std::size_t length);
};

/// All ways that this build has, the fastest first. The last one is supported everywhere.
template <class Crc>
std::span<CrcKernel<Crc> const> crcKernels();

/// Advances the register over `length` bytes in the fastest way that this machine can do.
template <class Crc>
typename Crc::Word advanceCrc(typename Crc::Word crc, unsigned char const * data,
                              std::size_t length);

} // namespace ox::data
