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

namespace ox::detail
{

/// The factors for the two halves of a block; `low` is for the half in the low 64 bits.
struct FoldFactors {
    std::uint64_t low;
    std::uint64_t high;
};

struct FoldConstants {
    /// The longest distance, in blocks: eight vectors of four blocks.
    static constexpr std::size_t longest = 32;

    /// From the longest distance down to 0, whose factors are zero: a run of `n` entries that ends
    /// there moves the blocks of a vector of `n` to its last block, which itself stays out of it.
    std::array<FoldFactors, longest + 1> downwards;

    /// The factors that move a block by `blocks` blocks, followed by those of shorter distances.
    constexpr FoldFactors const * by(std::size_t blocks) const
    {
        return &downwards[longest - blocks];
    }
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

template <class Crc>
constexpr FoldConstants makeFoldConstants()
{
    FoldConstants constants{};
    for (std::size_t blocks = 1; blocks <= FoldConstants::longest; ++blocks) {
        std::size_t const n = 128 * blocks;
        FoldFactors & factors = constants.downwards[FoldConstants::longest - blocks];
        // The low half of a reflected block holds the higher powers. The product of two reflected
        // words has its bits one place too low, which is a factor x that the constants leave out.
        if constexpr (Crc::isReflected)
            factors = {reflectBits(powerOfX<Crc>(n + 63)), reflectBits(powerOfX<Crc>(n - 1))};
        else
            factors = {powerOfX<Crc>(n), powerOfX<Crc>(n + 64)};
    }
    return constants;
}

template <class Crc>
inline constexpr FoldConstants foldConstants = makeFoldConstants<Crc>();

/// What takes a reflected block to the register by Barrett's method: dividing by the widened
/// polynomial Q = x^64 + ... with two multiplications. The last two hold a polynomial of 65
/// coefficients without that of x^0, because 64 bits hold no more; where that one is needed it is
/// added separately.
struct ReductionConstants {
    std::uint64_t byHalfBlock; ///< moves the half of the higher powers by 64 bits
    std::uint64_t quotient;    ///< x^128 / Q
    std::uint64_t polynomial;  ///< Q
};

template <class Crc>
constexpr ReductionConstants makeReductionConstants()
{
    static_assert(Crc::isReflected);
    // A long division; the first bit of the quotient and of Q, that of x^64, is left out.
    std::uint64_t quotient = 0;
    std::uint64_t remainder = widePolynomial<Crc>;
    for (int bit = 63; bit >= 0; --bit) {
        std::uint64_t const outgoing = remainder >> 63;
        remainder = remainder << 1 ^ (outgoing != 0 ? widePolynomial<Crc> : 0);
        quotient |= outgoing << bit;
    }
    return {reflectBits(powerOfX<Crc>(127)), reflectBits(quotient) << 1 | 1,
            reflectBits(widePolynomial<Crc>) << 1 | 1};
}

template <class Crc>
inline constexpr ReductionConstants reductionConstants = makeReductionConstants<Crc>();

} // namespace ox::detail
