#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

// CRC definitions, their tables, and the table-driven computation that every machine supports.

namespace ox::data
{

static_assert(std::endian::native == std::endian::little);

/// Definition of a CRC. `polynomial` is in the usual notation: highest power first, without the
/// leading coefficient. For a reflected CRC the notation is the same, but the register of the CRC
/// holds the highest power in its lowest bit.
template <class W, W polynomialBits, bool reflected>
struct CrcDefinition {
    using Word = W;
    static constexpr W polynomial = polynomialBits;
    static constexpr bool isReflected = reflected;
};

using Crc16 = CrcDefinition<std::uint16_t, 0x1021, false>;
using Crc32 = CrcDefinition<std::uint32_t, 0x04C11DB7, true>;
using Crc64 = CrcDefinition<std::uint64_t, 0xAD93D23594C935A9, true>;

/// Reverses the order of the bits.
template <class Word>
constexpr Word reflectBits(Word value)
{
    Word reflected = 0;
    for (int bit = 0; bit < std::numeric_limits<Word>::digits; ++bit) {
        reflected = static_cast<Word>(reflected << 1 | (value & 1));
        value = static_cast<Word>(value >> 1);
    }
    return reflected;
}

/// Tables of a CRC. Entry [n][b] is the value of a register that starts at 0, after the byte b and
/// n zero bytes.
template <class Crc>
using CrcTables = std::array<std::array<typename Crc::Word, 256>, 16>;

/// Computes the tables of a CRC.
template <class Crc>
constexpr CrcTables<Crc> makeCrcTables()
{
    using Word = typename Crc::Word;
    constexpr int width = std::numeric_limits<Word>::digits;
    constexpr Word polynomial = Crc::isReflected ? reflectBits(Crc::polynomial) : Crc::polynomial;
    constexpr Word outgoing =
        Crc::isReflected ? Word{1} : static_cast<Word>(Word{1} << (width - 1));

    CrcTables<Crc> tables{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        Word crc = static_cast<Word>(Crc::isReflected ? Word(byte) : Word(byte) << (width - 8));
        for (auto & table : tables) {
            for (int bit = 0; bit < 8; ++bit) {
                Word const feedback = (crc & outgoing) != 0 ? polynomial : Word{0};
                crc = static_cast<Word>((Crc::isReflected ? crc >> 1 : crc << 1) ^ feedback);
            }
            table[byte] = crc;
        }
    }
    return tables;
}

/// The tables of a CRC, computed at compile time.
template <class Crc>
inline constexpr CrcTables<Crc> crcTables = makeCrcTables<Crc>();

/// Converts the register so that it can be XORed with the next bytes of the data, which are read as
/// a little-endian word.
template <class Crc>
constexpr std::uint64_t asNextBytes(typename Crc::Word crc)
{
    if constexpr (Crc::isReflected)
        return crc;
    std::uint64_t bytes = 0;
    for (std::size_t i = 0; i < sizeof crc; ++i) {
        bytes = bytes << 8 | (crc & 0xFF);
        crc = static_cast<typename Crc::Word>(crc >> 8);
    }
    return bytes;
}

/// Advances the register over `count` bytes with one table lookup for each byte.
template <class Crc, std::size_t count>
typename Crc::Word advanceCrcByStep(typename Crc::Word crc, unsigned char const * data)
{
    using Word = typename Crc::Word;
    constexpr auto & tables = crcTables<Crc>;
    std::uint64_t words[2] = {};
    std::memcpy(words, data, count);
    words[0] ^= asNextBytes<Crc>(crc);
    if constexpr (count >= sizeof crc)
        crc = 0;
    else
        crc = static_cast<Word>(Crc::isReflected ? crc >> (8 * count) : crc << (8 * count));
#pragma GCC unroll 16
    for (std::size_t i = 0; i < count; ++i)
        crc ^= tables[count - 1 - i][words[i / 8] >> (8 * (i % 8)) & 0xFF];
    return crc;
}

/// Advances the register over less than sixteen bytes with tables.
template <class Crc>
typename Crc::Word advanceCrcShort(typename Crc::Word crc, unsigned char const * data,
                                   std::size_t length)
{
    if ((length & 8) != 0) {
        crc = advanceCrcByStep<Crc, 8>(crc, data);
        data += 8;
    }
    if ((length & 4) != 0) {
        crc = advanceCrcByStep<Crc, 4>(crc, data);
        data += 4;
    }
    if ((length & 2) != 0) {
        crc = advanceCrcByStep<Crc, 2>(crc, data);
        data += 2;
    }
    return (length & 1) != 0 ? advanceCrcByStep<Crc, 1>(crc, data) : crc;
}

/// Advances the register over `length` bytes with tables only, sixteen bytes at a time.
template <class Crc>
typename Crc::Word advanceCrcByTables(typename Crc::Word crc, unsigned char const * data,
                                      std::size_t length)
{
    for (; length >= 16; data += 16, length -= 16)
        crc = advanceCrcByStep<Crc, 16>(crc, data);
    return advanceCrcShort<Crc>(crc, data, length);
}

} // namespace ox::data
