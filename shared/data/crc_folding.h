#pragma once

#include "shared/data/crc.h"

#include <array>
#include <cstddef>
#include <cstdint>

// Constants of the folding kernels for a CRC.
//
// A kernel treats 16 bytes of the data as a block: a polynomial of degree below 128. Multiplying a
// block by x^n modulo the CRC's polynomial moves it n bits further on, where it is added to the
// block at that place. Any amount of data therefore shrinks to one block with the same CRC. The
// product takes two carry-less multiplications, one for each half of the block.
//
// In long data each step moves some vectors by the same distance. In short data, and at the end of
// long data, each block moves by its own distance to the end, so that no product waits for another.
//
// One kernel serves every width. A CRC of W bits with the polynomial P is a CRC of 64 bits with the
// polynomial P * x^(64-W), whose register contains the register of W bits at the highest powers.

namespace ox::data
{

/// Factors for the two halves of a block. `low` is the factor of the low 64 bits, `high` that of
/// the high 64 bits.
struct FoldFactors {
    std::uint64_t low;
    std::uint64_t high;
};

/// Constants of the folding kernels for one CRC.
struct FoldConstants {
    static constexpr std::size_t blocksInWidestVector = 4;
    /// Number of vectors that are folded in parallel. Six keep the multiplier busy and fit into
    /// sixteen registers.
    static constexpr std::size_t chains = 6;
    static constexpr std::size_t longest = chains * blocksInWidestVector;
    /// Number of entries of `behindEnd`. After the last step over long data at most this number of
    /// blocks is left: those in the chains, and those that are too few for another step.
    static constexpr std::size_t atOnce = 2 * longest;

    /// Entry [n] moves a block by n blocks; entry [0] is unused.
    std::array<FoldFactors, longest + 1> byBlocks;

    /// Factors that move each of the last `atOnce` blocks of the data to one common position. This
    /// position is half a block past the end of the data. The kernel adds the moved blocks. The
    /// last entry is for the last block.
    std::array<FoldFactors, atOnce> behindEnd;

    /// Factors that divide the folded block by the widened polynomial Q = x^64 + ...: the quotient
    /// x^128 / Q, and Q. Each has 65 coefficients and is stored in 64 bits without one coefficient:
    /// that of x^0 if the CRC is reflected, else that of x^64.
    FoldFactors divisors;
};

/// The polynomial of a CRC widened to 64 bits. Bit i is the coefficient of x^i; the coefficient of
/// x^64 is omitted.
template <class Crc>
inline constexpr std::uint64_t widePolynomial =
    std::uint64_t{Crc::polynomial} << (64 - 8 * sizeof(Crc::polynomial));

/// Computes the factors that move a block by 64 * n bits, for all n up to 2 * atOnce. Entry [0] is
/// unused.
template <class Crc>
constexpr std::array<FoldFactors, 2 * FoldConstants::atOnce + 1> factorsByHalfBlocks()
{
    // The carry-less product of two reflected words has an additional factor x. To compensate,
    // each exponent is smaller by 1.
    constexpr int firstExponent = Crc::isReflected ? 63 : 64;
    auto const timesX = [](std::uint64_t power, int times) {
        for (; times > 0; --times)
            power = power << 1 ^ (power >> 63 != 0 ? widePolynomial<Crc> : 0);
        return power;
    };

    std::array<FoldFactors, 2 * FoldConstants::atOnce + 1> factors{};
    std::uint64_t power = timesX(1, firstExponent);
    for (std::size_t n = 1; n < factors.size(); ++n) {
        std::uint64_t const next = timesX(power, 64);
        // The low half of a reflected block holds the higher powers.
        if constexpr (Crc::isReflected)
            factors[n] = {reflectBits(next), reflectBits(power)};
        else
            factors[n] = {power, next};
        power = next;
    }
    return factors;
}

/// Computes FoldConstants::divisors of a CRC.
template <class Crc>
constexpr FoldFactors makeDivisors()
{
    // Long division of x^128 by the polynomial. The loop starts after the first step, which gives
    // the quotient's bit x^64.
    std::uint64_t quotient = 0;
    std::uint64_t remainder = widePolynomial<Crc>;
    for (int bit = 63; bit >= 0; --bit) {
        std::uint64_t const outgoing = remainder >> 63;
        remainder = remainder << 1 ^ (outgoing != 0 ? widePolynomial<Crc> : 0);
        quotient |= outgoing << bit;
    }
    if constexpr (Crc::isReflected)
        return {reflectBits(quotient) << 1 | 1, reflectBits(widePolynomial<Crc>) << 1 | 1};
    else
        return {quotient, widePolynomial<Crc>};
}

/// Computes the folding constants of a CRC.
template <class Crc>
constexpr FoldConstants makeFoldConstants()
{
    constexpr auto factors = factorsByHalfBlocks<Crc>();
    FoldConstants constants{};
    for (std::size_t n = 1; n <= FoldConstants::longest; ++n)
        constants.byBlocks[n] = factors[2 * n];
    for (std::size_t n = 0; n < FoldConstants::atOnce; ++n)
        constants.behindEnd[FoldConstants::atOnce - 1 - n] = factors[2 * n + 1];
    constants.divisors = makeDivisors<Crc>();
    return constants;
}

/// The folding constants of a CRC, computed at compile time.
template <class Crc>
inline constexpr FoldConstants foldConstants = makeFoldConstants<Crc>();

} // namespace ox::data
