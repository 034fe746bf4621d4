#pragma once

#include "shared/export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Algorithms of the fixed-capacity strings on arrays of units. A unit is a byte (`char`) or a
/// UTF-16 unit (`unsigned short`). Lengths and positions count units.
///
/// A function that edits a text takes the text as `value` and `length`, in memory of capacity + 1
/// units. It returns the new length and writes a 0 unit after the text. Arguments must be in
/// range: the strings clamp them before the call.
namespace ox::text
{

/// Whether a search ignores the case of ASCII letters. All other characters are compared exactly in
/// both modes.
enum class Case : bool { Exact, Ignored };

/// Returns `c` in upper case if it is an ASCII letter, else unchanged.
template <typename Unit>
constexpr Unit toUpper(Unit c)
{
    return c >= 'a' && c <= 'z' ? static_cast<Unit>(c - 'a' + 'A') : c;
}

/// Returns `c` in lower case if it is an ASCII letter, else unchanged.
template <typename Unit>
constexpr Unit toLower(Unit c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<Unit>(c - 'A' + 'a') : c;
}

/// Returns the number of bytes of `text` before its first 0 byte.
inline std::size_t textLength(char const * text)
{
    return std::strlen(text);
}
/// Returns the number of UTF-16 units of `text` before its first 0 unit.
OX_EXPORT std::size_t textLength(unsigned short const * text);

/// Returns whether the `n` bytes at `a` and at `b` are equal.
inline bool equal(char const * a, char const * b, int n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n)) == 0;
}
/// Returns whether the `n` UTF-16 units at `a` and at `b` are equal.
inline bool equal(unsigned short const * a, unsigned short const * b, int n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n) * sizeof *a) == 0;
}
/// Returns whether the `n` UTF-16 units at `a` equal the `n` Latin-1 bytes at `b`.
OX_EXPORT bool equal(unsigned short const * a, char const * b, int n);

/// Compares the `n` bytes at `a` and at `b` by memcmp. Returns a negative value, 0 or a positive
/// value.
inline int order(char const * a, char const * b, std::ptrdiff_t n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n));
}
/// Compares the `n` UTF-16 units at `a` and at `b` by memcmp, which compares the low byte of each
/// unit first. Returns a negative value, 0 or a positive value.
inline int order(unsigned short const * a, unsigned short const * b, std::ptrdiff_t n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n) * sizeof *a);
}
/// Compares the `n` UTF-16 units at `a` with the `n` Latin-1 bytes at `b`, as if the bytes were
/// UTF-16 units. Returns a negative value, 0 or a positive value.
OX_EXPORT int order(unsigned short const * a, char const * b, std::ptrdiff_t n);

/// Returns whether the `n` bytes at `a` and at `b` are equal, ignoring the case of ASCII letters.
OX_EXPORT bool equalIgnoringCase(char const * a, char const * b, int n);
/// Returns whether the `n` UTF-16 units at `a` and at `b` are equal, ignoring the case of ASCII
/// letters.
OX_EXPORT bool equalIgnoringCase(unsigned short const * a, unsigned short const * b, int n);
/// Returns whether the `n` UTF-16 units at `a` equal the `n` Latin-1 bytes at `b`, ignoring the
/// case of ASCII letters.
OX_EXPORT bool equalIgnoringCase(unsigned short const * a, char const * b, int n);

/// Returns -1, 0 or 1 if `a` is less than, equal to or greater than `b`, ignoring case. Compares
/// the unsigned values of the units in upper case; a prefix of a text is less than the text.
template <typename Unit>
OX_EXPORT int compareIgnoringCase(Unit const * a, int lengthA, Unit const * b, int lengthB);

/// Returns the position of the first occurrence of `needle` at or after `from`, or -1. If `needle`
/// and the text have the same length, case is ignored, even with Case::Exact.
template <typename Unit>
OX_EXPORT int indexOfText(Unit const * text, int length, Unit const * needle, int needleLength,
                          int from, Case letters);

/// Returns the position of the first occurrence of the unit `c` at or after `from`, or -1. A `from`
/// outside the text counts as 0.
template <typename Unit>
OX_EXPORT int findUnit(Unit const * text, int length, Unit c, int from);
/// Returns the position of the last occurrence of the unit `c` at or before `from`, or -1. A `from`
/// outside the text counts as the last position of the text.
template <typename Unit>
OX_EXPORT int findLastUnit(Unit const * text, int length, Unit c, int from);

/// Replaces the `removed` units at `pos` by the `n` units at `text`. The result is cut at the
/// capacity. `text` must not overlap `value`.
template <typename Unit>
OX_EXPORT int splice(Unit * value, int length, int capacity, int pos, int removed,
                     Unit const * text, int n);

/// Replaces every occurrence of `before` with `after`, from left to right. indexOfText finds the
/// occurrences. Inserted text is not searched. An empty `before` has no occurrence. The result is
/// cut at the capacity. Neither `before` nor `after` may overlap `value`.
template <typename Unit>
OX_EXPORT int replaceAll(Unit * value, int length, int capacity, Unit const * before,
                         int beforeLength, Unit const * after, int afterLength, Case letters);

/// Replaces every unit that equals `c`, ignoring case, with `by`.
template <typename Unit>
OX_EXPORT void replaceUnit(Unit * value, int length, Unit c, Unit by);
/// Removes every unit that equals `c`, ignoring case.
template <typename Unit>
OX_EXPORT int removeUnit(Unit * value, int length, Unit c);

/// Removes the units 0, tab, line feed, carriage return and blank from both ends.
template <typename Unit>
OX_EXPORT int trim(Unit * value, int length);

/// Maps the ASCII letters to upper case.
template <typename Unit>
OX_EXPORT void makeUpper(Unit * value, int length);
/// Maps the ASCII letters to lower case.
template <typename Unit>
OX_EXPORT void makeLower(Unit * value, int length);

/// Copies `n` bytes. Source and destination may overlap.
inline void copyUnits(char * to, char const * from, int n)
{
    std::memmove(to, from, static_cast<std::size_t>(n));
}
/// Copies `n` UTF-16 units. Source and destination may overlap.
inline void copyUnits(unsigned short * to, unsigned short const * from, int n)
{
    std::memmove(to, from, static_cast<std::size_t>(n) * sizeof *from);
}
/// Copies the low bytes of `n` UTF-16 units.
OX_EXPORT void copyUnits(char * to, unsigned short const * from, int n);
/// Copies `n` Latin-1 bytes to UTF-16 units of the same values.
OX_EXPORT void copyUnits(unsigned short * to, char const * from, int n);
/// Copies `n` bytes to UTF-16 units with sign extension: 0x80..0xFF become 0xFF80..0xFFFF.
OX_EXPORT void copySignExtended(unsigned short * to, char const * from, int n);
/// Copies `n` UTF-16 units to Latin-1 bytes; a unit above 0xFF becomes '?'.
OX_EXPORT void copyAsLatin1(char * to, unsigned short const * from, int n);

/// The decimal text of a number, zero-terminated.
struct NumberText {
    /// Converts `number` to decimal text.
    OX_EXPORT explicit NumberText(long long number);

    char text[24]; ///< the zero-terminated text
    int length;    ///< characters of the text, including a minus sign
};

/// Implements String8::toInt for a text of `length` bytes.
OX_EXPORT int toInt(char const * text, int length, bool * ok);

/// Implements String8::toWchar_t for a text that ends at its first 0 byte or at `length`. `to` has
/// `capacity` units including the terminator, at least 1.
OX_EXPORT void widenSystemText(char const * text, int length, unsigned short * to, int capacity);

} // namespace ox::text
