#pragma once

#include <cstdint>

#include "shared/export.h"

// The farm's checksums. The 32-bit one guards the files of the data buffer. All of them are exact
// on every machine; which instructions compute them is chosen at run time.
//
// A length of 0 is always allowed, and `data` may then be null.

/// Builds the table of the 32-bit checksum and marks it as built. oxCRCCalc() does this by itself;
/// a caller of oxCRCPartial() does it once before. Repeated and concurrent calls are harmless.
OX_EXPORT void oxCRCInitialize();

/// Advances the running CRC-32 register `*crc` over `len` bytes, without the inversion of the
/// register before the first and after the last byte, which oxCRCCalc() does:
///
///     unsigned int crc = 0xFFFFFFFFu;
///     oxCRCPartial(&crc, first, firstLength);
///     oxCRCPartial(&crc, second, secondLength);
///     crc = ~crc;
///
/// Before the table is built the result is wrong: the register is only shifted by 8 bits a byte.
OX_EXPORT void oxCRCPartial(unsigned int * crc, unsigned char const * data, unsigned int len);

/// The CRC-32 of zlib and gzip: "123456789" gives 0xCBF43926, no bytes give 0.
OX_EXPORT unsigned int oxCRCCalc(unsigned char const * data, unsigned int const & len);

/// The XOR of `len` bytes, or with `everySecondByte` of the low bytes of `len` 16-bit characters:
/// `len` counts characters then, and 2 * `len` bytes are read.
OX_EXPORT unsigned char oxCRCCalc8(unsigned char const * data, unsigned long len,
                                   bool everySecondByte);

/// CRC-16/XMODEM (polynomial 0x1021, not reflected, no inversion): "123456789" gives 0x31C3, no
/// bytes give 0.
OX_EXPORT unsigned short oxCRCCalc16(unsigned char const * data, unsigned long len);

/// CRC-64 with the Jones polynomial, reflected, no inversion: "123456789" gives 0xE9C6D914C4B8D9CA,
/// no bytes give 0.
OX_EXPORT std::uint64_t oxCRCCalc64(void const * data, unsigned long len);
