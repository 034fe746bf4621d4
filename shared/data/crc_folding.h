#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "shared/data/crc.h"

// What the folding kernels need to know of a CRC.
//
// A kernel treats 16 bytes of the data as a polynomial of degree below 128, a block. Multiplying a
// block by x^n modulo the CRC's polynomial makes it congruent to itself at a place n bits further
// on, where it is added to the block that stands there; so any amount of data shrinks to one block
// with the same CRC. The product takes two carry-less multiplications, one for each half of the
// block.
//
// One kernel serves every width: a CRC of W bits with the polynomial P is a CRC of 64 bits with the
// polynomial P * x^(64-W), whose register is the narrow one at the place of the highest powers.

namespace ox::data
{

/// The factors for the two halves of a block; `low` is for the half in the low 64 bits.
struct FoldFactors {
    std::uint64_t low;
    std::uint64_t high;
};

struct FoldConstants {
    static constexpr std::size_t blocksInWidestVector = 4;
    /// So many vectors are folded side by side: enough to keep the multiplier busy, and no more
    /// than fit in sixteen registers.
    static constexpr std::size_t chains = 6;
    static constexpr std::size_t longest = chains * blocksInWidestVector;

    /// Entry [n] moves a block by n blocks.
    std::array<FoldFactors, longest + 1> byBlocks;

    /// Move the blocks of the widest vector to half a block behind its end, where they are added.
    std::array<FoldFactors, blocksInWidestVector> behindEnd;

    /// Divide what stands there by the widened polynomial Q = x^64 + ...: a quotient x^128 / Q and
    /// Q, each without one of its 65 coefficients: x^0 if reflected, else x^64.
    FoldFactors divisors;
};

/// The CRC's polynomial widened to 64 bits; bit i is the coefficient of x^i, that of x^64 is left
/// out.
template <class Crc>
inline constexpr std::uint64_t widePolynomial =
    std::uint64_t{Crc::polynomial} << (64 - 8 * sizeof(Crc::polynomial));

/// x^n modulo the widened polynomial.
template <class Crc>
constexpr std::uint64_t powerOfX(std::size_t n)
{
    std::uint64_t power = 1;
    for (; n > 0; --n)
        power = power << 1 ^ (power >> 63 != 0 ? widePolynomial<Crc> : 0);
    return power;
}

/// The factors that move a block by n bits.
template <class Crc>
constexpr FoldFactors factorsForBits(std::size_t n)
{
    // The low half of a reflected block holds the higher powers. The product of two reflected words
    // has its bits one place too low, which is a factor x that the constants leave out.
    if constexpr (Crc::isReflected)
        return {reflectBits(powerOfX<Crc>(n + 63)), reflectBits(powerOfX<Crc>(n - 1))};
    else
        return {powerOfX<Crc>(n), powerOfX<Crc>(n + 64)};
}

template <class Crc>
constexpr FoldFactors makeDivisors()
{
    // A long division, which begins behind the first bit of the quotient, that of x^64.
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

template <class Crc>
constexpr FoldConstants makeFoldConstants()
{
    FoldConstants constants{};
    for (std::size_t n = 1; n <= FoldConstants::longest; ++n)
        constants.byBlocks[n] = factorsForBits<Crc>(128 * n);
    std::size_t bits = 128 * FoldConstants::blocksInWidestVector;
    for (FoldFactors & factors : constants.behindEnd) {
        bits -= 128;
        factors = factorsForBits<Crc>(bits + 64);
    }
    constants.divisors = makeDivisors<Crc>();
    return constants;
}

template <class Crc>
inline constexpr FoldConstants foldConstants = makeFoldConstants<Crc>();

} // namespace ox::data
