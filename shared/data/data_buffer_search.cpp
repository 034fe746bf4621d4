#include "shared/data/data_buffer.h"

#include "shared/text/fixed_string_algorithms.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

// A search looks at two bytes of the pattern only, the rarest by the look of them, at 64 positions
// of the text at once, and compares the whole pattern where both stand. Where that happens often, a
// byte that was found to differ takes the place of one of the two. A text that keeps matching
// almost all the same is searched with a failure table, in linear time whatever the text, once the
// comparisons have cost more than the way made.

namespace
{

using Byte = unsigned char;

template <bool ignoreCase>
constexpr Byte folded(Byte byte)
{
    return ignoreCase ? ox::detail::toLower(byte) : byte;
}

/// How common each byte is in texts and records; 0 for the rare ones.
constexpr auto commonness = [] {
    using namespace std::string_view_literals;
    constexpr auto mostCommonFirst =
        " \0etaoinsrhldcumfpgwybvk0123456789.,\1\2\3\4\r\n\t_-/\\:<>=\"xjqzETAOINSRHLDCUMFPGWYBVK\xFF"sv;
    std::array<Byte, 256> result{};
    for (std::size_t i = 0; i < mostCommonFirst.size(); ++i)
        result[Byte(mostCommonFirst[i])] = Byte(mostCommonFirst.size() - i);
    return result;
}();

/// A byte of the pattern and its place there, looked for at sixteen positions of the text at once:
/// bit i is set when it stands where the pattern at position text + i would have it.
template <bool ignoreCase>
class Probe
{
  public:
#ifdef __SSE2__
    using Lanes = __m128i;

    Probe(int index, Byte byte)
        : index_(index), byte_(_mm_set1_epi8(char(byte))),
          caseBit_(_mm_set1_epi8(byte >= 'a' && byte <= 'z' ? 0x20 : 0))
    {
    }

    Lanes operator()(Byte const * text) const
    {
        Lanes lanes = _mm_loadu_si128(reinterpret_cast<Lanes const *>(text + index_));
        if constexpr (ignoreCase)
            lanes = _mm_or_si128(lanes, caseBit_);
        return _mm_cmpeq_epi8(lanes, byte_);
    }

    static std::uint64_t bits(Lanes lanes)
    {
        return unsigned(_mm_movemask_epi8(lanes));
    }

  private:
    int index_;
    Lanes byte_;
    Lanes caseBit_;
#else
    using Lanes = unsigned;

    Probe(int index, Byte byte) : index_(index), byte_(byte) {}

    Lanes operator()(Byte const * text) const
    {
        Lanes lanes = 0;
        for (int i = 0; i < 16; ++i)
            lanes |= unsigned(folded<ignoreCase>(text[index_ + i]) == byte_) << i;
        return lanes;
    }

    static std::uint64_t bits(Lanes lanes)
    {
        return lanes;
    }

  private:
    int index_;
    Byte byte_;
#endif
};

/// Bit i is set when both probes' bytes stand where they should at text + i, i below 64.
template <class Probe>
inline std::uint64_t candidates(Byte const * text, Probe const & first, Probe const & second)
{
    auto const both = [&](int i) { return first(text + i) & second(text + i); };
    auto const a = both(0), b = both(16), c = both(32), d = both(48);
    if (Probe::bits((a | b) | (c | d)) == 0)
        return 0;
    return Probe::bits(a) | Probe::bits(b) << 16 | Probe::bits(c) << 32 | Probe::bits(d) << 48;
}

template <bool ignoreCase>
class Pattern
{
  public:
    explicit Pattern(std::string_view text) : length_(int(text.size()))
    {
        for (int i = 0; i < length_; ++i)
            bytes_[i] = folded<ignoreCase>(Byte(text[std::size_t(i)]));
    }

    /// The first of the positions 0 to positions-1 at which the text holds the pattern, or -1.
    int find(Byte const * text, int positions) const
    {
        int const rare = rarest(-1);
        Probe<ignoreCase> first = probe(rare);
        Probe<ignoreCase> second = probe(length_ > 1 ? rarest(rare) : rare);
        std::int64_t compared = 0;
        std::int64_t allowance = smallLoss;
        int at = 0;
        for (; positions - at >= 64; at += 64) {
            int different = 0;
            std::uint64_t found = candidates(text + at, first, second);
            for (; found; found &= found - 1) {
                int const position = at + std::countr_zero(found);
                different = matchLength(text + position);
                if (different == length_)
                    return position;
                compared += different + costOfCandidate;
            }
            if (compared > largeLoss + 8 * std::int64_t{at})
                return findInLinearTime(text, at + 64, positions);
            if (compared > allowance + at / 4) {
                first = second;
                second = probe(different);
                allowance += smallLoss;
            }
        }
        for (; at < positions; ++at) {
            if (matchLength(text + at) == length_)
                return at;
        }
        return -1;
    }

  private:
    static constexpr int smallLoss = 512;
    static constexpr int largeLoss = 16384;
    static constexpr int costOfCandidate = 8;

    Probe<ignoreCase> probe(int index) const { return {index, bytes_[index]}; }

    int rarest(int besides) const
    {
        int best = besides == 0 ? 1 : 0;
        for (int i = best + 1; i < length_; ++i) {
            if (i != besides && commonness[bytes_[i]] < commonness[bytes_[best]])
                best = i;
        }
        return best;
    }

    bool matches(int index, Byte byte) const { return folded<ignoreCase>(byte) == bytes_[index]; }

    int matchLength(Byte const * text) const
    {
        int length = 0;
        while (length < length_ && matches(length, text[length]))
            ++length;
        return length;
    }

    /// find() of the positions from on, by Knuth, Morris and Pratt.
    int findInLinearTime(Byte const * text, int from, int positions) const
    {
        // Of each prefix of the pattern: how long a shorter prefix it ends with.
        std::array<Byte, 250> borders;
        borders[0] = 0;
        for (int i = 1, border = 0; i < length_; ++i) {
            while (border > 0 && bytes_[i] != bytes_[border])
                border = borders[border - 1];
            border += bytes_[i] == bytes_[border];
            borders[i] = Byte(border);
        }
        int const end = positions + length_ - 1;
        for (int at = from, matching = 0; at < end; ++at) {
            while (matching > 0 && !matches(matching, text[at]))
                matching = borders[matching - 1];
            matching += matches(matching, text[at]);
            if (matching == length_)
                return at - length_ + 1;
        }
        return -1;
    }

    std::array<Byte, 250> bytes_ = {};
    int length_;
};

/// The text of a pattern, which may be a record's, whose length is not trusted either.
std::string_view textOf(_oxString8_evenSize<250> const & pattern)
{
    return {pattern.value, std::min<std::size_t>(pattern.length, 250)};
}

template <bool ignoreCase>
int indexIn(std::span<char const> text, std::string_view pattern, int from)
{
    from = std::max(from, 0);
    auto const length = static_cast<int>(text.size());
    auto const patternLength = static_cast<int>(pattern.size());
    if (patternLength == 0 || from >= length || patternLength > length - from)
        return -1;
    auto const * const start = reinterpret_cast<Byte const *>(text.data()) + from;
    int const found = Pattern<ignoreCase>(pattern).find(start, length - from - patternLength + 1);
    return found < 0 ? -1 : from + found;
}

} // namespace

int _OX_DataBuffer::indexOf(_oxString8_evenSize<250> const & pattern, int from) const
{
    return indexIn<false>(bytesAt(0, size), textOf(pattern), from);
}

int _OX_DataBuffer::indexOfIgnCase(_oxString8_evenSize<250> const & pattern, int from) const
{
    return indexIn<true>(bytesAt(0, size), textOf(pattern), from);
}
