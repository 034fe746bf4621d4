#pragma once

#include "shared/export.h"

#include <cstdint>

// Checksums of the farm. Buffer files contain the 32-bit checksum. Every machine computes the same
// values, with the fastest instructions that it supports.
//
// A length of 0 is allowed in every function; `data` may then be null.

/// Builds the table of the 32-bit checksum. Call it once before oxCRCPartial(); oxCRCCalc() calls
/// it itself.
/// Threads: repeated and concurrent calls are safe.
OX_EXPORT void oxCRCInitialize();

/// Advances the CRC-32 register `*crc` over `len` bytes. The caller inverts the register before the
/// first and after the last byte:
///
///     unsigned int crc = 0xFFFFFFFFu;
///     oxCRCPartial(&crc, first, firstLength);
///     oxCRCPartial(&crc, second, secondLength);
///     crc = ~crc;
///
/// Call oxCRCInitialize() or oxCRCCalc() once before the first call. Otherwise the result is wrong:
/// each byte only shifts the register by 8 bits.
OX_EXPORT void oxCRCPartial(unsigned int * crc, unsigned char const * data, unsigned int len);

/// Returns the CRC-32 of `len` bytes, as in zlib and gzip: "123456789" gives 0xCBF43926, no bytes
/// give 0.
OX_EXPORT unsigned int oxCRCCalc(unsigned char const * data, unsigned int const & len);

/// Returns the XOR of `len` bytes. With `everySecondByte` it returns the XOR of the low bytes of
/// `len` 16-bit characters, and reads 2 * `len` bytes.
OX_EXPORT unsigned char oxCRCCalc8(unsigned char const * data, unsigned long len,
                                   bool everySecondByte);

/// Returns the CRC-16/XMODEM of `len` bytes (polynomial 0x1021, not reflected, no inversion):
/// "123456789" gives 0x31C3, no bytes give 0.
OX_EXPORT unsigned short oxCRCCalc16(unsigned char const * data, unsigned long len);

/// Returns the CRC-64 of `len` bytes with the Jones polynomial, reflected, no inversion:
/// "123456789" gives 0xE9C6D914C4B8D9CA, no bytes give 0.
OX_EXPORT std::uint64_t oxCRCCalc64(void const * data, unsigned long len);
