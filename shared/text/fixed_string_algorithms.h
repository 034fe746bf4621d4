#pragma once

#include "shared/export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

/// The loops of the fixed-capacity strings, over plain memory: written once for bytes (`char`) and
/// for UTF-16 units (`unsigned short`), whatever the capacity. Lengths and positions count units.
///
/// Functions that edit take the text (`value`, `length`) in memory of capacity + 1 units, return
/// the new length and leave a 0 unit at it. Arguments are in range: the strings clamp before they
/// call.
namespace ox::text
{

/// Whether the two cases of an ASCII letter are told apart. No other character has two cases here.
enum class Case : bool { Exact, Ignored };

template <typename Unit>
constexpr Unit toUpper(Unit c)
{
    return c >= 'a' && c <= 'z' ? static_cast<Unit>(c - 'a' + 'A') : c;
}

template <typename Unit>
constexpr Unit toLower(Unit c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<Unit>(c - 'A' + 'a') : c;
}

/// Number of units before the 0 unit.
inline std::size_t textLength(char const * text)
{
    return std::strlen(text);
}
OX_EXPORT std::size_t textLength(unsigned short const * text);

/// Exact equality of n units; bytes stand for the units of the same value (Latin-1).
inline bool equal(char const * a, char const * b, int n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n)) == 0;
}
inline bool equal(unsigned short const * a, unsigned short const * b, int n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n) * sizeof *a) == 0;
}
OX_EXPORT bool equal(unsigned short const * a, char const * b, int n);

/// Order of the memory of n units: in wide texts the low byte of each unit comes first. Bytes stand
/// for the units of the same value. Below, at or above 0.
inline int order(char const * a, char const * b, std::ptrdiff_t n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n));
}
inline int order(unsigned short const * a, unsigned short const * b, std::ptrdiff_t n)
{
    return std::memcmp(a, b, static_cast<std::size_t>(n) * sizeof *a);
}
OX_EXPORT int order(unsigned short const * a, char const * b, std::ptrdiff_t n);

/// Equality of n units, the case of ASCII letters ignored; bytes are Latin-1.
OX_EXPORT bool equalIgnoringCase(char const * a, char const * b, int n);
OX_EXPORT bool equalIgnoringCase(unsigned short const * a, unsigned short const * b, int n);
OX_EXPORT bool equalIgnoringCase(unsigned short const * a, char const * b, int n);

/// Order of the upper-cased texts by unsigned unit values, the shorter first on an equal prefix:
/// -1, 0 or 1.
template <typename Unit>
OX_EXPORT int compareIgnoringCase(Unit const * a, int lengthA, Unit const * b, int lengthB);

/// First position >= from at which the needle stands, or -1. A needle as long as the text is
/// compared ignoring case even in the exact search.
template <typename Unit>
OX_EXPORT int indexOfText(Unit const * text, int length, Unit const * needle, int needleLength,
                          int from, Case letters);

/// First or last position of a unit in the text, or -1. The search starts at from, or where it
/// would start without one when from lies outside the text.
template <typename Unit>
OX_EXPORT int findUnit(Unit const * text, int length, Unit c, int from);
template <typename Unit>
OX_EXPORT int findLastUnit(Unit const * text, int length, Unit c, int from);

/// Puts n units of text, which must not lie in value, in place of the removed units at pos.
template <typename Unit>
OX_EXPORT int splice(Unit * value, int length, int capacity, int pos, int removed,
                     Unit const * text, int n);

/// Replaces every occurrence of a text, found as indexOfText finds it, from left to right; never
/// searches what it inserted. Neither text may lie in value. An empty `before` occurs nowhere.
template <typename Unit>
OX_EXPORT int replaceAll(Unit * value, int length, int capacity, Unit const * before,
                         int beforeLength, Unit const * after, int afterLength, Case letters);

/// Replaces or removes every unit that is equal to c in either case.
template <typename Unit>
OX_EXPORT void replaceUnit(Unit * value, int length, Unit c, Unit by);
template <typename Unit>
OX_EXPORT int removeUnit(Unit * value, int length, Unit c);

/// Removes the units 0, 9, 10, 13 and 32 from both ends.
template <typename Unit>
OX_EXPORT int trim(Unit * value, int length);

template <typename Unit>
OX_EXPORT void makeUpper(Unit * value, int length);
template <typename Unit>
OX_EXPORT void makeLower(Unit * value, int length);

/// Copies n units that may overlap their destination.
inline void copyUnits(char * to, char const * from, int n)
{
    std::memmove(to, from, static_cast<std::size_t>(n));
}
inline void copyUnits(unsigned short * to, unsigned short const * from, int n)
{
    std::memmove(to, from, static_cast<std::size_t>(n) * sizeof *from);
}
/// Copies the low byte of each unit.
OX_EXPORT void copyUnits(char * to, unsigned short const * from, int n);
/// Copies bytes as the units of the same value (Latin-1).
OX_EXPORT void copyUnits(unsigned short * to, char const * from, int n);
/// Copies bytes as signed values, so that 0x80..0xFF become 0xFF80..0xFFFF.
OX_EXPORT void copySignExtended(unsigned short * to, char const * from, int n);
/// Copies units as Latin-1; a unit beyond Latin-1 becomes '?'.
OX_EXPORT void copyAsLatin1(char * to, unsigned short const * from, int n);

/// The decimal text of a number, zero-terminated.
struct NumberText {
    OX_EXPORT explicit NumberText(long long number);

    char text[24];
    int length;
};

/// The rules of `toInt` of the 8-bit strings.
OX_EXPORT int toInt(char const * text, int length, bool * ok);

/// The rules of `toWchar_t` of the 8-bit strings, for a text that ends at its first 0 or at length.
OX_EXPORT void widenSystemText(char const * text, int length, unsigned short * to, int room);

} // namespace ox::text
