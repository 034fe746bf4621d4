#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace ox::text
{

/// Processes eight bytes or four UTF-16 units at a time as the lanes of a 64-bit word. The first
/// lane is in the lowest bits.
template <typename Unit>
struct Lanes {
    static_assert(std::endian::native == std::endian::little, "the records are little-endian");
    using Word = std::uint64_t;

    static constexpr int bits = 8 * sizeof(Unit);
    static constexpr int count = sizeof(Word) / sizeof(Unit);
    static constexpr Word ones = ~Word{0} / ((Word{1} << bits) - 1);
    static constexpr Word tops = ones << (bits - 1);

    static Word load(Unit const * text)
    {
        Word word;
        std::memcpy(&word, text, sizeof word);
        return word;
    }

    /// Loads the first 4 and the last 4 bytes of the `n` units at `text` into one word. The two
    /// groups of 4 bytes overlap if `n` is below `count`.
    static Word loadEnds(Unit const * text, int n)
    {
        std::uint32_t halves[2];
        std::memcpy(&halves[0], text, sizeof halves[0]);
        std::memcpy(&halves[1], text + n - count / 2, sizeof halves[1]);
        return halves[0] | Word{halves[1]} << 32;
    }

    static constexpr Word all(int unit) { return ones * static_cast<Word>(unit); }

    static constexpr Word upper(Word word)
    {
        Word const low = word & ~tops;
        Word const fromA = low + (tops - all('a'));
        Word const beyondZ = low + (tops - all('z' + 1));
        Word const isLetter = (fromA ^ beyondZ) & ~word & tops;
        return word - (isLetter >> (bits - 6)); // moves the top bit to the bit of 'a' - 'A'
    }

    /// Returns a word that marks each 0 lane of `word`: the top bit of the lane is set. A lane
    /// above a 0 lane may be marked although it is not 0.
    static constexpr Word zeros(Word word) { return (word - ones) & ~word & tops; }

    static constexpr int first(Word marks) { return std::countr_zero(marks) / bits; }
};

} // namespace ox::text
