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

// Search for a byte pattern in a text.
//
// The search first looks for two bytes of the pattern, the two rarest ones by a fixed table, at 64
// positions of the text at a time. Where both bytes match, it compares the whole pattern. If many
// of these comparisons fail, the byte at which a comparison failed replaces one of the two bytes.
// If the comparisons cost much more than the scan itself, the search changes to the
// Knuth-Morris-Pratt algorithm (KMP), which always takes linear time.

namespace ox::data
{

using Byte = unsigned char;

/// Returns the byte; if the search ignores case, the letters A-Z are mapped to lower case.
template <bool ignoreCase>
constexpr Byte folded(Byte byte)
{
    return ignoreCase ? text::toLower(byte) : byte;
}

/// Estimated frequency of each byte in texts and records, as a rank: the rarest bytes have rank 0.
inline constexpr auto commonness = [] {
    using namespace std::string_view_literals;
    constexpr auto mostCommonFirst =
        " \0etaoinsrhldcumfpgwybvk0123456789.,\1\2\3\4\r\n\t_-/\\:<>=\"xjqzETAOINSRHLDCUMFPGWYBVK\xFF"sv;
    std::array<Byte, 256> result{};
    for (std::size_t i = 0; i < mostCommonFirst.size(); ++i)
        result[Byte(mostCommonFirst[i])] = Byte(mostCommonFirst.size() - i);
    return result;
}();

/// Tests sixteen positions of a text at once for the pattern's byte at `index`. Lane i of the
/// result is set if text[i + index] matches this byte.
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

/// Returns a mask of 64 positions. Bit i is set when both probes match at position text + i.
template <class Probe>
inline std::uint64_t candidates(Byte const * text, Probe const & first, Probe const & second)
{
    auto const both = [&](int i) { return first(text + i) & second(text + i); };
    auto const a = both(0), b = both(16), c = both(32), d = both(48);
    if (Probe::bits((a | b) | (c | d)) == 0)
        return 0;
    return Probe::bits(a) | Probe::bits(b) << 16 | Probe::bits(c) << 32 | Probe::bits(d) << 48;
}

/// Searches for a pattern of at most `longestPattern` bytes. An object can search one text several
/// times, if each search begins after the last match. It chooses its method by the costs so far.
template <bool ignoreCase>
class ByteSearch
{
  public:
    static constexpr int longestPattern = 500;

    /// Prepares the search for a pattern.
    explicit ByteSearch(std::string_view pattern) : length_(int(pattern.size()))
    {
        for (int i = 0; i < length_; ++i)
            bytes_[i] = folded<ignoreCase>(Byte(pattern[std::size_t(i)]));
        firstProbe_ = rarest(-1);
        secondProbe_ = length_ > 1 ? rarest(firstProbe_) : firstProbe_;
    }

    /// Returns the position of the first match at or after `from`, or -1. A negative `from` counts
    /// as 0. An empty pattern gives -1.
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
    // Costs, counted in compared bytes. A failed comparison costs `costOfCandidate` and its
    // compared bytes. The sum has two limits, which grow with the scanned positions: above the
    // first, initially `smallLoss`, a probe is replaced; above the second, initially `largeLoss`,
    // the search changes to KMP.
    static constexpr int smallLoss = 512;
    static constexpr int largeLoss = 16384;
    static constexpr int costOfCandidate = 8;

    Probe<ignoreCase> probe(int index) const { return {index, bytes_[index]}; }

    int rarest(int excluded) const
    {
        int best = excluded == 0 ? 1 : 0;
        for (int i = best + 1; i < length_; ++i) {
            if (i != excluded && commonness[bytes_[i]] < commonness[bytes_[best]])
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

    /// Returns the first matching position below `positions`, or -1. Uses the two probes.
    int findByProbes(Byte const * text, int positions)
    {
        Probe<ignoreCase> first = probe(firstProbe_);
        Probe<ignoreCase> second = probe(secondProbe_);
        int at = 0;
        for (; positions - at >= 64; at += 64) {
            int mismatch = 0;
            std::uint64_t found = candidates(text + at, first, second);
            for (; found; found &= found - 1) {
                int const position = at + std::countr_zero(found);
                mismatch = matchLength(text + position);
                if (mismatch == length_) {
                    scanned_ += position;
                    return position;
                }
                compared_ += mismatch + costOfCandidate;
            }
            if (compared_ > largeLoss + 8 * (scanned_ + at)) {
                prepareLinearTime();
                return findInLinearTime(text, at + 64, positions);
            }
            if (compared_ > allowance_ + (scanned_ + at) / 4) {
                firstProbe_ = secondProbe_;
                secondProbe_ = mismatch;
                first = second;
                second = probe(mismatch);
                allowance_ += smallLoss;
            }
        }
        scanned_ += at;
        for (; at < positions; ++at) {
            if (matchLength(text + at) == length_)
                return at;
        }
        return -1;
    }

    /// Computes the failure function (KMP) of the pattern.
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

    /// Searches the positions `from` to `positions` - 1. Returns the first position that matches,
    /// or -1. Uses the failure function (KMP).
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
    int firstProbe_;                     ///< pattern index of the byte that is tested first
    int secondProbe_;                    ///< pattern index of the byte that is tested second
    std::int64_t scanned_ = 0;           ///< positions scanned by all searches
    std::int64_t compared_ = 0;          ///< cost of failed comparisons, in bytes
    std::int64_t allowance_ = smallLoss; ///< cost in bytes at which a probe is replaced
    bool hasLinearTime_ = false;
    std::array<Byte, longestPattern> bytes_;
    std::array<std::uint16_t, longestPattern> borders_; ///< failure function, if hasLinearTime_
};

} // namespace ox::data
