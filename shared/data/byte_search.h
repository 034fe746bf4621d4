#pragma once

#include "shared/text/fixed_string_algorithms.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <span>
#include <string_view>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

// A search looks at two bytes of the pattern only, the rarest by the look of them, at 64 positions
// of the text at once, and compares the whole pattern where both stand. Where that happens often, a
// byte that was found to differ takes the place of one of the two. A text that keeps matching
// almost all the same is searched with a failure table, in linear time whatever the text, once the
// comparisons have cost more than the way made.

namespace ox::data
{

using Byte = unsigned char;

template <bool ignoreCase>
constexpr Byte folded(Byte byte)
{
    return ignoreCase ? text::toLower(byte) : byte;
}

/// How common each byte is in texts and records; 0 for the rare ones.
inline constexpr auto commonness = [] {
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

/// A pattern of at most `longestPattern` bytes that is looked for again and again, from left to
/// right in one text: what a search learns about the two serves the next.
template <bool ignoreCase>
class ByteSearch
{
  public:
    static constexpr int longestPattern = 500;

    explicit ByteSearch(std::string_view pattern) : length_(int(pattern.size()))
    {
        for (int i = 0; i < length_; ++i)
            bytes_[i] = folded<ignoreCase>(Byte(pattern[std::size_t(i)]));
        firstProbe_ = rarest(-1);
        secondProbe_ = length_ > 1 ? rarest(firstProbe_) : firstProbe_;
    }

    /// The first position at or after from at which the text holds the pattern, or -1. A negative
    /// from counts as 0; the empty pattern stands nowhere.
    int find(std::span<char const> text, int from)
    {
        from = std::max(from, 0);
        int const positions = int(text.size()) - length_ + 1;
        if (length_ == 0 || from >= positions)
            return -1;
        auto const * const start = reinterpret_cast<Byte const *>(text.data()) + from;
        int const found = hasLinearTime_ ? findInLinearTime(start, 0, positions - from)
                                         : findByProbes(start, positions - from);
        return found < 0 ? -1 : from + found;
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

    /// The first of the positions 0 to positions-1 at which the text holds the pattern, or -1.
    int findByProbes(Byte const * text, int positions)
    {
        Probe<ignoreCase> first = probe(firstProbe_);
        Probe<ignoreCase> second = probe(secondProbe_);
        int at = 0;
        for (; positions - at >= 64; at += 64) {
            int different = 0;
            std::uint64_t found = candidates(text + at, first, second);
            for (; found; found &= found - 1) {
                int const position = at + std::countr_zero(found);
                different = matchLength(text + position);
                if (different == length_) {
                    way_ += position;
                    return position;
                }
                compared_ += different + costOfCandidate;
            }
            if (compared_ > largeLoss + 8 * (way_ + at)) {
                prepareLinearTime();
                return findInLinearTime(text, at + 64, positions);
            }
            if (compared_ > allowance_ + (way_ + at) / 4) {
                firstProbe_ = secondProbe_;
                secondProbe_ = different;
                first = second;
                second = probe(different);
                allowance_ += smallLoss;
            }
        }
        way_ += at;
        for (; at < positions; ++at) {
            if (matchLength(text + at) == length_)
                return at;
        }
        return -1;
    }

    /// Of each prefix of the pattern: how long a shorter prefix it ends with.
    void prepareLinearTime()
    {
        hasLinearTime_ = true;
        borders_[0] = 0;
        for (int i = 1, border = 0; i < length_; ++i) {
            while (border > 0 && bytes_[i] != bytes_[border])
                border = borders_[border - 1];
            border += bytes_[i] == bytes_[border];
            borders_[i] = std::uint16_t(border);
        }
    }

    /// The same of the positions from on, by Knuth, Morris and Pratt.
    int findInLinearTime(Byte const * text, int from, int positions) const
    {
        int const end = positions + length_ - 1;
        for (int at = from, matching = 0; at < end; ++at) {
            while (matching > 0 && !matches(matching, text[at]))
                matching = borders_[matching - 1];
            matching += matches(matching, text[at]);
            if (matching == length_)
                return at - length_ + 1;
        }
        return -1;
    }

    int length_;
    int firstProbe_; ///< places in the pattern of the bytes that are looked for first
    int secondProbe_;
    std::int64_t way_ = 0; ///< positions passed, and what was compared in vain on the way
    std::int64_t compared_ = 0;
    std::int64_t allowance_ = smallLoss;
    bool hasLinearTime_ = false;
    std::array<Byte, longestPattern> bytes_;
    std::array<std::uint16_t, longestPattern> borders_; ///< set once there is linear time
};

} // namespace ox::data
