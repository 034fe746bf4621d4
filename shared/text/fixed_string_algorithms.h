#pragma once

#include "shared/export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Algorithms of the fixed-capacity strings over plain memory: one version for bytes (`char`), one
/// for UTF-16 units (`unsigned short`), for all capacities. Lengths and positions count units.
///
/// A function that edits a text takes it as `value` and `length`, in memory of capacity + 1 units.
/// It returns the new length and writes a 0 unit behind the text. Arguments must be in range: the
/// strings clamp them before the call.
namespace ox::text
{

/// Whether a search distinguishes the two cases of ASCII letters. All other characters are compared
/// exactly in either mode.
enum class Case : bool { Exact, Ignored };

/// Maps a to z to upper case; any other unit stays unchanged.
template <typename Unit>
constexpr Unit toUpper(Unit c)
{
    return c >= 'a' && c <= 'z' ? static_cast<Unit>(c - 'a' + 'A') : c;
}

/// Maps A to Z to lower case; any other unit stays unchanged.
template <typename Unit>
constexpr Unit toLower(Unit c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<Unit>(c - 'A' + 'a') : c;
}

/// Returns the number of units before the 0 unit.
inline std::size_t textLength(char const * text)
{
    return std::strlen(text);
}
/// Returns the number of UTF-16 units before the 0 unit.
OX_EXPORT std::size_t textLength(unsigned short const * text);

/// Returns whether n units are equal. A byte equals the unit of the same value (Latin-1).
inline bool equal(char const * a, char const * b, int n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n)) == 0;
}
/// Returns whether n UTF-16 units are equal.
inline bool equal(unsigned short const * a, unsigned short const * b, int n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n) * sizeof *a) == 0;
}
/// Returns whether n UTF-16 units equal n Latin-1 bytes.
OX_EXPORT bool equal(unsigned short const * a, char const * b, int n);

/// Compares the memory of n units; returns a value below, at or above 0. In wide texts the low byte
/// of each unit is compared first. A byte counts as the unit of the same value.
inline int order(char const * a, char const * b, std::ptrdiff_t n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n));
}
/// Compares the memory of n UTF-16 units, the low byte of each unit first; returns a value below,
/// at or above 0.
inline int order(unsigned short const * a, unsigned short const * b, std::ptrdiff_t n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n) * sizeof *a);
}
/// Compares the memory of n UTF-16 units with n Latin-1 bytes that are widened to units, the low
/// byte first; returns a value below, at or above 0.
OX_EXPORT int order(unsigned short const * a, char const * b, std::ptrdiff_t n);

/// Returns whether n units are equal, ignoring the case of ASCII letters. A byte equals the unit of
/// the same value (Latin-1).
OX_EXPORT bool equalIgnoringCase(char const * a, char const * b, int n);
/// Returns whether n UTF-16 units are equal, ignoring the case of ASCII letters.
OX_EXPORT bool equalIgnoringCase(unsigned short const * a, unsigned short const * b, int n);
/// Returns whether n UTF-16 units equal n Latin-1 bytes, ignoring the case of ASCII letters.
OX_EXPORT bool equalIgnoringCase(unsigned short const * a, char const * b, int n);

/// Compares the upper-cased texts by unsigned unit values; on an equal prefix the shorter text
/// comes first. Returns -1, 0 or 1.
template <typename Unit>
OX_EXPORT int compareIgnoringCase(Unit const * a, int lengthA, Unit const * b, int lengthB);

/// Returns the first position >= `from` of the needle, or -1. A needle as long as the text is
/// compared ignoring case, even with Case::Exact.
template <typename Unit>
OX_EXPORT int indexOfText(Unit const * text, int length, Unit const * needle, int needleLength,
                          int from, Case letters);

/// Returns the first position >= `from` of a unit, or -1. A `from` outside the text counts as 0.
template <typename Unit>
OX_EXPORT int findUnit(Unit const * text, int length, Unit c, int from);
/// Returns the last position <= `from` of a unit, or -1. A `from` outside the text counts as its
/// last position.
template <typename Unit>
OX_EXPORT int findLastUnit(Unit const * text, int length, Unit c, int from);

/// Replaces `removed` units at pos by n units of `text`, which must not lie in `value`. The result
/// is cut at the capacity.
template <typename Unit>
OX_EXPORT int splice(Unit * value, int length, int capacity, int pos, int removed,
                     Unit const * text, int n);

/// Replaces every occurrence of `before` that indexOfText finds, from left to right; inserted text
/// is not searched. The result is cut at the capacity. Neither text may lie in `value`. An empty
/// `before` has no occurrence.
template <typename Unit>
OX_EXPORT int replaceAll(Unit * value, int length, int capacity, Unit const * before,
                         int beforeLength, Unit const * after, int afterLength, Case letters);

/// Replaces every unit that equals c, ignoring case, by `by`.
template <typename Unit>
OX_EXPORT void replaceUnit(Unit * value, int length, Unit c, Unit by);
/// Removes every unit that equals c, ignoring case.
template <typename Unit>
OX_EXPORT int removeUnit(Unit * value, int length, Unit c);

/// Removes the units 0, 9, 10, 13 and 32 from both ends.
template <typename Unit>
OX_EXPORT int trim(Unit * value, int length);

/// Maps the ASCII letters to upper case.
template <typename Unit>
OX_EXPORT void makeUpper(Unit * value, int length);
/// Maps the ASCII letters to lower case.
template <typename Unit>
OX_EXPORT void makeLower(Unit * value, int length);

/// Copies n units. Source and destination may overlap.
inline void copyUnits(char * to, char const * from, int n)
{
    std::memmove(to, from, static_cast<std::size_t>(n));
}
/// Copies n UTF-16 units. Source and destination may overlap.
inline void copyUnits(unsigned short * to, unsigned short const * from, int n)
{
    std::memmove(to, from, static_cast<std::size_t>(n) * sizeof *from);
}
/// Copies the low bytes of n UTF-16 units.
OX_EXPORT void copyUnits(char * to, unsigned short const * from, int n);
/// Copies bytes as the units of the same value (Latin-1).
OX_EXPORT void copyUnits(unsigned short * to, char const * from, int n);
/// Copies bytes as signed values, so that 0x80..0xFF become 0xFF80..0xFFFF.
OX_EXPORT void copySignExtended(unsigned short * to, char const * from, int n);
/// Copies units as Latin-1; a unit beyond Latin-1 becomes '?'.
OX_EXPORT void copyAsLatin1(char * to, unsigned short const * from, int n);

/// The decimal text of a number, zero-terminated.
struct NumberText {
    /// Converts a number.
    OX_EXPORT explicit NumberText(long long number);

    char text[24]; ///< the zero-terminated digits
    int length;
};

/// Implements String8::toInt for a text of `length` bytes.
OX_EXPORT int toInt(char const * text, int length, bool * ok);

/// Implements String8::toWchar_t for a text that ends at its first 0 byte or at `length`.
/// `capacity` is the size of `to` in units, at least 1, terminator included.
OX_EXPORT void widenSystemText(char const * text, int length, unsigned short * to, int capacity);

} // namespace ox::text
