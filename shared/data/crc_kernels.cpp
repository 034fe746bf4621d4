#include "shared/data/crc_kernels.h"

#include "shared/data/crc_folding.h"

#include <algorithm>
#include <array>

#if defined(__x86_64__) || defined(__i386__)
#define OX_HAS_FOLDING_KERNELS
#include <immintrin.h>
// Some intrinsics read an uninitialised vector to get an undefined value: not worth a warning.
#pragma GCC diagnostic ignored "-Wuninitialized"
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#endif

namespace ox::data
{

#ifdef OX_HAS_FOLDING_KERNELS
namespace
{

using Block = __m128i;

/// Indices for a byte shuffle. The 16 entries from [n] on move the first n bytes of a block to the
/// end of the block. The 16 entries from [16 + n] on move all but the first n bytes to the start.
/// The other bytes of the block become 0.
constexpr auto byteShifts = [] {
    std::array<unsigned char, 48> order{};
    order.fill(0x80);
    for (std::size_t i = 0; i < sizeof(Block); ++i)
        order[sizeof(Block) + i] = static_cast<unsigned char>(i);
    return order;
}();

// Vector operations of the kernel, one struct for each width. `reverseBytes` reverses the bytes of
// each block if `isReversed`. `fold` moves the blocks of `x` by the distance of `factors` and adds
// them to `onto`.

#define OX_INLINE(instructions) __attribute__((always_inline, target(instructions))) static inline

#define OX_SSE "sse4.1,pclmul"
struct Vector128 {
    using Type = __m128i;

    OX_INLINE(OX_SSE) Type load(unsigned char const * data)
    {
        return _mm_loadu_si128(reinterpret_cast<Type const *>(data));
    }

    OX_INLINE(OX_SSE) Type load(FoldFactors const * factors)
    {
        return _mm_loadu_si128(reinterpret_cast<Type const *>(factors));
    }

    OX_INLINE(OX_SSE) Type broadcast(FoldFactors const & factors) { return load(&factors); }

    OX_INLINE(OX_SSE) Type withLowBits(std::uint64_t bits)
    {
        return _mm_set_epi64x(0, static_cast<long long>(bits));
    }

    OX_INLINE(OX_SSE) Type withLowBlock(Block block) { return block; }

    OX_INLINE(OX_SSE) Type sum(Type a, Type b) { return _mm_xor_si128(a, b); }

    OX_INLINE(OX_SSE) Type shuffle(Type x, unsigned char const * order)
    {
        return _mm_shuffle_epi8(x, load(order));
    }

    OX_INLINE(OX_SSE) Type byteOrder()
    {
        return _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
    }

    template <bool isReversed>
    OX_INLINE(OX_SSE)
    Type reverseBytes(Type x)
    {
        return isReversed ? _mm_shuffle_epi8(x, byteOrder()) : x;
    }

    OX_INLINE(OX_SSE) Type fold(Type x, Type factors, Type onto)
    {
        return sum(sum(_mm_clmulepi64_si128(x, factors, 0x00), onto),
                   _mm_clmulepi64_si128(x, factors, 0x11));
    }

    OX_INLINE(OX_SSE) Block sumOfBlocks(Type x) { return x; }
};

#define OX_AVX2 OX_SSE ",avx2,vpclmulqdq"
struct Vector256 {
    using Type = __m256i;

    OX_INLINE(OX_AVX2) Type load(unsigned char const * data)
    {
        return _mm256_loadu_si256(reinterpret_cast<Type const *>(data));
    }

    OX_INLINE(OX_AVX2) Type load(FoldFactors const * factors)
    {
        return _mm256_loadu_si256(reinterpret_cast<Type const *>(factors));
    }

    OX_INLINE(OX_AVX2) Type broadcast(FoldFactors const & factors)
    {
        return _mm256_broadcastsi128_si256(Vector128::broadcast(factors));
    }

    OX_INLINE(OX_AVX2) Type withLowBits(std::uint64_t bits)
    {
        return withLowBlock(Vector128::withLowBits(bits));
    }

    OX_INLINE(OX_AVX2) Type withLowBlock(Block block) { return _mm256_zextsi128_si256(block); }

    OX_INLINE(OX_AVX2) Type sum(Type a, Type b) { return _mm256_xor_si256(a, b); }

    template <bool isReversed>
    OX_INLINE(OX_AVX2)
    Type reverseBytes(Type x)
    {
        return isReversed
                   ? _mm256_shuffle_epi8(x, _mm256_broadcastsi128_si256(Vector128::byteOrder()))
                   : x;
    }

    OX_INLINE(OX_AVX2) Type fold(Type x, Type factors, Type onto)
    {
        return sum(sum(_mm256_clmulepi64_epi128(x, factors, 0x00), onto),
                   _mm256_clmulepi64_epi128(x, factors, 0x11));
    }

    OX_INLINE(OX_AVX2) Block sumOfBlocks(Type x)
    {
        return Vector128::sum(_mm256_castsi256_si128(x), _mm256_extracti128_si256(x, 1));
    }
};

#define OX_AVX512 OX_AVX2 ",avx512f,avx512bw"
struct Vector512 {
    using Type = __m512i;

    OX_INLINE(OX_AVX512) Type load(unsigned char const * data) { return _mm512_loadu_si512(data); }

    OX_INLINE(OX_AVX512) Type load(FoldFactors const * factors)
    {
        return _mm512_loadu_si512(factors);
    }

    OX_INLINE(OX_AVX512) Type broadcast(FoldFactors const & factors)
    {
        return _mm512_broadcast_i32x4(Vector128::broadcast(factors));
    }

    OX_INLINE(OX_AVX512) Type withLowBits(std::uint64_t bits)
    {
        return withLowBlock(Vector128::withLowBits(bits));
    }

    OX_INLINE(OX_AVX512) Type withLowBlock(Block block) { return _mm512_zextsi128_si512(block); }

    OX_INLINE(OX_AVX512) Type sum(Type a, Type b) { return _mm512_xor_si512(a, b); }

    template <bool isReversed>
    OX_INLINE(OX_AVX512)
    Type reverseBytes(Type x)
    {
        return isReversed ? _mm512_shuffle_epi8(x, _mm512_broadcast_i32x4(Vector128::byteOrder()))
                          : x;
    }

    OX_INLINE(OX_AVX512) Type fold(Type x, Type factors, Type onto)
    {
        constexpr int xorOfThree = 0x96;
        return _mm512_ternarylogic_epi64(_mm512_clmulepi64_epi128(x, factors, 0x00),
                                         _mm512_clmulepi64_epi128(x, factors, 0x11), onto,
                                         xorOfThree);
    }

    OX_INLINE(OX_AVX512) Block sumOfBlocks(Type x)
    {
        return Vector256::sumOfBlocks(
            Vector256::sum(_mm512_castsi512_si256(x), _mm512_extracti64x4_epi64(x, 1)));
    }
};

/// Returns the remainder of `x` divided by the widened polynomial, by Barrett's method.
template <class Crc>
OX_INLINE(OX_SSE)
typename Crc::Word remainder(Block x)
{
    auto const divisors = Vector128::broadcast(foldConstants<Crc>.divisors);
    Block rest;
    if constexpr (Crc::isReflected) {
        auto const quotient = _mm_clmulepi64_si128(x, divisors, 0x00);
        rest = Vector128::sum(x, _mm_clmulepi64_si128(quotient, divisors, 0x10));
        if constexpr ((widePolynomial<Crc> & 1) != 0)
            rest = Vector128::sum(rest, _mm_slli_si128(quotient, 8));
    } else {
        auto const quotient = Vector128::sum(x, _mm_clmulepi64_si128(x, divisors, 0x01));
        rest = Vector128::sum(x, _mm_clmulepi64_si128(quotient, divisors, 0x11));
    }
    // The register consists of the remainder's bits at the highest powers: the upper bits of the
    // low half or, if the CRC is reflected, the lower bits of the high half.
    constexpr int position = Crc::isReflected ? 2 : 1;
    auto const bits = static_cast<std::uint32_t>(_mm_extract_epi32(rest, position));
    if constexpr (sizeof(typename Crc::Word) <= sizeof bits) {
        constexpr std::size_t unused =
            Crc::isReflected ? 0 : sizeof bits - sizeof(typename Crc::Word);
        return static_cast<typename Crc::Word>(bits >> (8 * unused));
    } else {
        static_assert(Crc::isReflected);
        auto const highBits = static_cast<std::uint32_t>(_mm_extract_epi32(rest, position + 1));
        return std::uint64_t{highBits} << 32 | bits;
    }
}

namespace pclmul
{
using Vector = Vector128;
#define OX_TARGET __attribute__((target(OX_SSE)))
#include "shared/data/crc_fold_kernel.h"
#undef OX_TARGET
bool isSupported()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("pclmul");
}
} // namespace pclmul

namespace avx2
{
using Vector = Vector256;
#define OX_TARGET __attribute__((target(OX_AVX2)))
#include "shared/data/crc_fold_kernel.h"
#undef OX_TARGET
bool isSupported()
{
    return pclmul::isSupported() && __builtin_cpu_supports("avx2") &&
           __builtin_cpu_supports("vpclmulqdq");
}
} // namespace avx2

namespace avx512
{
using Vector = Vector512;
#define OX_TARGET __attribute__((target(OX_AVX512)))
#include "shared/data/crc_fold_kernel.h"
#undef OX_TARGET
bool isSupported()
{
    return avx2::isSupported() && __builtin_cpu_supports("avx512f") &&
           __builtin_cpu_supports("avx512bw");
}
} // namespace avx512

} // namespace
#endif // OX_HAS_FOLDING_KERNELS

template <class Crc>
std::span<CrcKernel<Crc> const> crcKernels()
{
    static constexpr CrcKernel<Crc> kernels[] = {
#ifdef OX_HAS_FOLDING_KERNELS
        {"avx512", avx512::isSupported, avx512::advance<Crc>},
        {"avx2", avx2::isSupported, avx2::advance<Crc>},
        {"pclmul", pclmul::isSupported, pclmul::advance<Crc>},
#endif
        {"tables", [] { return true; }, advanceCrcByTables<Crc>},
    };
    return kernels;
}

namespace
{

template <class Crc>
typename Crc::Word selectAndAdvance(typename Crc::Word crc, unsigned char const * data,
                                    std::size_t length)
{
    auto const advance = std::ranges::find_if(crcKernels<Crc>(), [](auto const & kernel) {
                             return kernel.isSupported();
                         })->advance;
    SelectedCrcKernel<Crc>::advance.store(advance, std::memory_order_relaxed);
    return advance(crc, data, length);
}

} // namespace

template <class Crc>
constinit std::atomic<decltype(CrcKernel<Crc>::advance)> SelectedCrcKernel<Crc>::advance =
    selectAndAdvance<Crc>;

#define OX_INSTANTIATE(Crc)                                                                        \
    template std::span<CrcKernel<Crc> const> crcKernels<Crc>();                                    \
    template struct SelectedCrcKernel<Crc>
OX_INSTANTIATE(Crc16);
OX_INSTANTIATE(Crc32);
OX_INSTANTIATE(Crc64);

} // namespace ox::data
