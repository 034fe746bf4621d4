#include "shared/text/case_kernels.h"

#include "shared/text/fixed_string_algorithms.h"
#include "shared/text/unit_lanes.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#if defined(__x86_64__) || defined(__i386__)
#define OX_HAS_VECTOR_KERNELS
#include <immintrin.h>
#endif

namespace ox::text
{
namespace
{

template <typename Unit>
constexpr auto unsignedUnit(Unit c)
{
    return static_cast<std::make_unsigned_t<Unit>>(c);
}

/// Returns the order of `a` and `b` (-1, 0 or 1), ignoring case. `pos` is the position of the first
/// units that differ, or the length of the shorter text.
template <typename Unit>
int orderAt(int pos, Unit const * a, int lengthA, Unit const * b, int lengthB)
{
    if (pos < std::min(lengthA, lengthB))
        return unsignedUnit(toUpper(a[pos])) < unsignedUnit(toUpper(b[pos])) ? -1 : 1;
    return (lengthA > lengthB) - (lengthA < lengthB);
}

namespace words
{

/// Number of units in a block of 32 bytes. A block is compared without a branch.
template <typename Unit>
constexpr int blockSize = 32 / sizeof(Unit);

template <typename Unit>
bool blocksDiffer(Unit const * a, Unit const * b)
{
    using U = std::make_unsigned_t<Unit>;
    constexpr U caseBit = 'a' - 'A';
    std::array<U, blockSize<Unit>> difference;
    for (std::size_t i = 0; i < difference.size(); ++i) {
        U const x = unsignedUnit(a[i]);
        U const y = unsignedUnit(b[i]);
        U const letter = static_cast<U>((x | caseBit) - 'a');
        U const ignored = letter <= U{'z' - 'a'} ? caseBit : U{0};
        difference[i] = static_cast<U>((x ^ y) & ~ignored);
    }
    auto const words = std::bit_cast<std::array<std::uint64_t, 4>>(difference);
    return (words[0] | words[1] | words[2] | words[3]) != 0;
}

/// Returns the first position at which `a` and `b` differ, ignoring case, or `n` if the first `n`
/// units are equal.
template <typename Unit>
int mismatch(Unit const * a, Unit const * b, int n)
{
    using L = Lanes<Unit>;
    int pos = 0;
    while (pos + blockSize<Unit> <= n && !blocksDiffer(a + pos, b + pos))
        pos += blockSize<Unit>;
    for (; pos + L::count <= n; pos += L::count) {
        auto const difference = L::upper(L::load(a + pos)) ^ L::upper(L::load(b + pos));
        if (difference != 0)
            return pos + L::first(difference);
    }
    if (n - pos >= L::count / 2) {
        auto const difference =
            L::upper(L::loadEnds(a + pos, n - pos)) ^ L::upper(L::loadEnds(b + pos, n - pos));
        if (difference == 0)
            return n;
        int const lane = L::first(difference);
        return lane < L::count / 2 ? pos + lane : n - L::count + lane;
    }
    while (pos < n && toUpper(a[pos]) == toUpper(b[pos]))
        ++pos;
    return pos;
}

template <typename Unit>
int compare(Unit const * a, int lengthA, Unit const * b, int lengthB)
{
    return orderAt(mismatch(a, b, std::min(lengthA, lengthB)), a, lengthA, b, lengthB);
}

} // namespace words

#ifdef OX_HAS_VECTOR_KERNELS

// Vector operations of the kernels, one struct for each vector width. `differences` compares two
// vectors and returns a mask in which the bits of the bytes that differ are set. It ignores the
// case bit ('a' - 'A') of letters. A unit is a letter if `unit | caseBit` is in 'a' to 'z'.

#define OX_INLINE(instructions) __attribute__((always_inline, target(instructions))) static inline

constexpr int caseBit = 'a' - 'A';
// `unit + fromA`, read as a signed number, has the smallest possible value if the unit is 'a'. It
// is below `beyondZ` only if the unit is one of 'a' to 'z'.
template <typename Unit>
constexpr int fromA = (1 << (8 * sizeof(Unit) - 1)) - 'a';
template <typename Unit>
constexpr int beyondZ = 26 - (1 << (8 * sizeof(Unit) - 1));

#define OX_SSE2 "sse2"
struct Vector128 {
    using Type = __m128i;

    OX_INLINE(OX_SSE2) Type load(char const * bytes)
    {
        return _mm_loadu_si128(reinterpret_cast<Type const *>(bytes));
    }

    /// Loads the first eight and the last eight of the `size` bytes at `bytes` into one vector.
    OX_INLINE(OX_SSE2) Type loadEnds8(char const * bytes, int size)
    {
        return _mm_unpacklo_epi64(
            _mm_loadl_epi64(reinterpret_cast<Type const *>(bytes)),
            _mm_loadl_epi64(reinterpret_cast<Type const *>(bytes + size - 8)));
    }

    /// Loads the first four and the last four of the `size` bytes at `bytes` into one vector.
    OX_INLINE(OX_SSE2) Type loadEnds4(char const * bytes, int size)
    {
        int ends[2];
        std::memcpy(&ends[0], bytes, sizeof ends[0]);
        std::memcpy(&ends[1], bytes + size - 4, sizeof ends[1]);
        return _mm_unpacklo_epi32(_mm_cvtsi32_si128(ends[0]), _mm_cvtsi32_si128(ends[1]));
    }

    template <typename Unit>
    OX_INLINE(OX_SSE2)
    std::uint32_t differences(Type x, Type y)
    {
        Type ignored;
        if constexpr (sizeof(Unit) == 1) {
            Type const fromFirst =
                _mm_add_epi8(_mm_or_si128(x, _mm_set1_epi8(caseBit)), _mm_set1_epi8(fromA<Unit>));
            ignored = _mm_and_si128(_mm_cmplt_epi8(fromFirst, _mm_set1_epi8(beyondZ<Unit>)),
                                    _mm_set1_epi8(caseBit));
        } else {
            Type const fromFirst = _mm_add_epi16(_mm_or_si128(x, _mm_set1_epi16(caseBit)),
                                                 _mm_set1_epi16(fromA<Unit>));
            ignored = _mm_and_si128(_mm_cmplt_epi16(fromFirst, _mm_set1_epi16(beyondZ<Unit>)),
                                    _mm_set1_epi16(caseBit));
        }
        Type const rest = _mm_andnot_si128(ignored, _mm_xor_si128(x, y));
        Type const isEqual = _mm_cmpeq_epi8(rest, _mm_setzero_si128());
        return static_cast<std::uint32_t>(_mm_movemask_epi8(isEqual)) ^ 0xFFFF;
    }
};

#define OX_AVX2 "avx2"
struct Vector256 {
    using Type = __m256i;

    OX_INLINE(OX_AVX2) Type load(char const * bytes)
    {
        return _mm256_loadu_si256(reinterpret_cast<Type const *>(bytes));
    }

    template <typename Unit>
    OX_INLINE(OX_AVX2)
    std::uint32_t differences(Type x, Type y)
    {
        Type ignored;
        if constexpr (sizeof(Unit) == 1) {
            Type const fromFirst = _mm256_add_epi8(_mm256_or_si256(x, _mm256_set1_epi8(caseBit)),
                                                   _mm256_set1_epi8(fromA<Unit>));
            ignored =
                _mm256_and_si256(_mm256_cmpgt_epi8(_mm256_set1_epi8(beyondZ<Unit>), fromFirst),
                                 _mm256_set1_epi8(caseBit));
        } else {
            Type const fromFirst = _mm256_add_epi16(_mm256_or_si256(x, _mm256_set1_epi16(caseBit)),
                                                    _mm256_set1_epi16(fromA<Unit>));
            ignored =
                _mm256_and_si256(_mm256_cmpgt_epi16(_mm256_set1_epi16(beyondZ<Unit>), fromFirst),
                                 _mm256_set1_epi16(caseBit));
        }
        Type const rest = _mm256_andnot_si256(ignored, _mm256_xor_si256(x, y));
        Type const isEqual = _mm256_cmpeq_epi8(rest, _mm256_setzero_si256());
        return ~static_cast<std::uint32_t>(_mm256_movemask_epi8(isEqual));
    }
};

namespace sse2
{
using Widest = Vector128;
#define OX_TARGET __attribute__((target(OX_SSE2)))
#include "shared/text/case_vector_kernel.h"
#undef OX_TARGET
bool isSupported()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("sse2");
}
} // namespace sse2

namespace avx2
{
using Widest = Vector256;
#define OX_TARGET __attribute__((target(OX_AVX2)))
#include "shared/text/case_vector_kernel.h"
#undef OX_TARGET
bool isSupported()
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
}
} // namespace avx2

#endif // OX_HAS_VECTOR_KERNELS

template <typename Unit>
CaseKernel<Unit> const & selectKernel();

/// The initial value of `selectedKernel`. The first call of `mismatch` or `compare` selects the
/// fastest kernel that this machine supports, stores it in `selectedKernel`, and calls it.
template <typename Unit>
constexpr CaseKernel<Unit> selectingKernel = {
    "", [] { return true; },
    [](Unit const * a, Unit const * b, int n) { return selectKernel<Unit>().mismatch(a, b, n); },
    [](Unit const * a, int lengthA, Unit const * b, int lengthB) {
        return selectKernel<Unit>().compare(a, lengthA, b, lengthB);
    }};

template <typename Unit>
constinit std::atomic<CaseKernel<Unit> const *> selectedKernel = &selectingKernel<Unit>;

template <typename Unit>
CaseKernel<Unit> const & selectKernel()
{
    auto const selected = std::ranges::find_if(
        caseKernels<Unit>(), [](auto const & candidate) { return candidate.isSupported(); });
    selectedKernel<Unit>.store(&*selected, std::memory_order_relaxed);
    return *selected;
}

/// Returns the selected kernel: `selectingKernel` before the first comparison, then the fastest
/// kernel that this machine supports.
template <typename Unit>
CaseKernel<Unit> const & kernel()
{
    return *selectedKernel<Unit>.load(std::memory_order_relaxed);
}

} // namespace

template <typename Unit>
std::span<CaseKernel<Unit> const> caseKernels()
{
    static constexpr CaseKernel<Unit> kernels[] = {
#ifdef OX_HAS_VECTOR_KERNELS
        {"avx2", avx2::isSupported, avx2::mismatch<Unit>, avx2::compare<Unit>},
        {"sse2", sse2::isSupported, sse2::mismatch<Unit>, sse2::compare<Unit>},
#endif
        {"words", [] { return true; }, words::mismatch<Unit>, words::compare<Unit>},
    };
    return kernels;
}

bool equalIgnoringCase(char const * a, char const * b, int n)
{
    return kernel<char>().mismatch(a, b, n) == n;
}

bool equalIgnoringCase(unsigned short const * a, unsigned short const * b, int n)
{
    return kernel<unsigned short>().mismatch(a, b, n) == n;
}

template <typename Unit>
int compareIgnoringCase(Unit const * a, int lengthA, Unit const * b, int lengthB)
{
    return kernel<Unit>().compare(a, lengthA, b, lengthB);
}

#define OX_INSTANTIATE(Unit)                                                                       \
    template std::span<CaseKernel<Unit> const> caseKernels();                                      \
    template int compareIgnoringCase(Unit const *, int, Unit const *, int);
OX_INSTANTIATE(char)
OX_INSTANTIATE(unsigned short)
#undef OX_INSTANTIATE

} // namespace ox::text
