#include "shared/text/fixed_string_algorithms.h"

#include "shared/platform/file_names.h"
#include "shared/text/unit_lanes.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <string_view>

namespace ox::text
{
namespace
{

/// Compares one unit of a needle with all units in a 64-bit word of the text in parallel. The units
/// in the word are its lanes (see Lanes).
template <typename Unit>
class Anchor
{
  public:
    Anchor(Unit c, Case letters)
        : caseBit_(letters == Case::Ignored && toLower(toUpper(c)) != toUpper(c) ? 'a' - 'A' : 0),
          unit_(Lanes<Unit>::ones * static_cast<std::make_unsigned_t<Unit>>(c | caseBit_)),
          caseBits_(Lanes<Unit>::all(caseBit_))
    {
    }

    /// Returns a word in which a lane is 0 if the same lane of `lanes` equals the unit.
    std::uint64_t difference(std::uint64_t lanes) const { return (lanes | caseBits_) ^ unit_; }

  private:
    int caseBit_;
    std::uint64_t unit_;
    std::uint64_t caseBits_;
};

template <typename Unit>
constexpr auto unsignedUnit(Unit c)
{
    return static_cast<std::make_unsigned_t<Unit>>(c);
}

bool equalUnits(unsigned short const * a, char const * b, int n, Case letters)
{
    return std::equal(a, a + n, b, [letters](unsigned short x, char c) {
        unsigned short const y = unsignedUnit(c);
        return x == y || (letters == Case::Ignored && toUpper(x) == toUpper(y));
    });
}

/// Returns the position of the first occurrence of `needle` at or after `from`, or -1. Compares the
/// whole needle only where its first and its last unit match.
template <typename Unit>
int find(Unit const * text, int length, Unit const * needle, int needleLength, int from,
         Case letters)
{
    using L = Lanes<Unit>;
    int const last = length - needleLength;
    if (needleLength == 0)
        return from;

    auto const matchesAt = [=](int pos) {
        return letters == Case::Exact ? equal(text + pos, needle, needleLength)
                                      : equalIgnoringCase(text + pos, needle, needleLength);
    };
    Anchor<Unit> const head(needle[0], letters);
    Anchor<Unit> const tail(needle[needleLength - 1], letters);
    auto const firstInBlock = [=](int pos) {
        auto const heads = head.difference(L::load(text + pos));
        auto const tails = tail.difference(L::load(text + pos + needleLength - 1));
        for (auto marks = L::zeros(heads | tails); marks != 0; marks &= marks - 1) {
            int const candidate = pos + L::first(marks);
            if (matchesAt(candidate))
                return candidate;
        }
        return -1;
    };

    int const lastBlock = last - L::count + 1;
    if (lastBlock < from) {
        for (int pos = from; pos <= last; ++pos) {
            if (matchesAt(pos))
                return pos;
        }
        return -1;
    }
    for (int pos = from; pos < lastBlock; pos += L::count) {
        int const found = firstInBlock(pos);
        if (found >= 0)
            return found;
    }
    return firstInBlock(lastBlock); // overlaps positions that were already searched
}

constexpr bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// Returns the number at the start of `text`, limited to the range of int.
/// Compatibility: white space before the number is skipped, and the text ends at its first 0 byte,
/// as in the farm's applications.
int leadingInt(std::string_view text)
{
    text = text.substr(0, text.find('\0'));
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    bool const negative = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+'))
        text.remove_prefix(1);

    long long number = 0;
    for (char const c : text) {
        if (!isDigit(c))
            break;
        number = std::min(number * 10 + (c - '0'), -static_cast<long long>(INT_MIN));
    }
    return static_cast<int>(negative ? -number : std::min<long long>(number, INT_MAX));
}

} // namespace

std::size_t textLength(unsigned short const * text)
{
    unsigned short const * end = text;
    while (*end != 0)
        ++end;
    return static_cast<std::size_t>(end - text);
}

bool equal(unsigned short const * a, char const * b, int n)
{
    return equalUnits(a, b, n, Case::Exact);
}

int order(unsigned short const * a, char const * b, std::ptrdiff_t n)
{
    auto const inMemoryOrder = [](unsigned unit) { return (unit & 0xFF) << 8 | unit >> 8; };
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        unsigned const x = inMemoryOrder(a[i]);
        unsigned const y = inMemoryOrder(unsignedUnit(b[i]));
        if (x != y)
            return x < y ? -1 : 1;
    }
    return 0;
}

bool equalIgnoringCase(unsigned short const * a, char const * b, int n)
{
    return equalUnits(a, b, n, Case::Ignored);
}

template <typename Unit>
int indexOfText(Unit const * text, int length, Unit const * needle, int needleLength, int from,
                Case letters)
{
    from = std::max(from, 0);
    if (from > length - needleLength)
        return -1;
    if (length == needleLength)
        return equalIgnoringCase(text, needle, length) ? 0 : -1;
    return find(text, length, needle, needleLength, from, letters);
}

template <typename Unit>
int findUnit(Unit const * text, int length, Unit c, int from)
{
    if (from < 0 || from >= length)
        from = 0;
    if constexpr (sizeof(Unit) == 1) {
        auto const n = static_cast<std::size_t>(length - from);
        auto const * const found = static_cast<Unit const *>(std::memchr(text + from, c, n));
        return found ? static_cast<int>(found - text) : -1;
    } else {
        return find(text, length, &c, 1, from, Case::Exact);
    }
}

template <typename Unit>
int findLastUnit(Unit const * text, int length, Unit c, int from)
{
    int pos = from < 0 || from >= length ? length - 1 : from;
    while (pos >= 0 && text[pos] != c)
        --pos;
    return pos;
}

template <typename Unit>
int splice(Unit * value, int length, int capacity, int pos, int removed, Unit const * text, int n)
{
    int const taken = std::min(n, capacity - pos);
    int const rest = std::min(length - pos - removed, capacity - pos - taken);
    copyUnits(value + pos + taken, value + pos + removed, rest);
    std::copy_n(text, taken, value + pos);
    value[pos + taken + rest] = 0;
    return pos + taken + rest;
}

template <typename Unit>
int replaceAll(Unit * value, int length, int capacity, Unit const * before, int beforeLength,
               Unit const * after, int afterLength, Case letters)
{
    int from = 0;
    while (beforeLength > 0) {
        int const pos = indexOfText<Unit>(value, length, before, beforeLength, from, letters);
        if (pos < 0)
            break;
        length = splice(value, length, capacity, pos, beforeLength, after, afterLength);
        from = pos + afterLength;
    }
    return length;
}

template <typename Unit>
void replaceUnit(Unit * value, int length, Unit c, Unit by)
{
    std::replace_if(
        value, value + length, [upper = toUpper(c)](Unit unit) { return toUpper(unit) == upper; },
        by);
}

template <typename Unit>
int removeUnit(Unit * value, int length, Unit c)
{
    Unit * const end = std::remove_if(
        value, value + length, [upper = toUpper(c)](Unit unit) { return toUpper(unit) == upper; });
    *end = 0;
    return static_cast<int>(end - value);
}

template <typename Unit>
int trim(Unit * value, int length)
{
    auto const isBlank = [](Unit c) {
        return c == 0 || c == '\t' || c == '\n' || c == '\r' || c == ' ';
    };
    while (length > 0 && isBlank(value[length - 1]))
        --length;
    int start = 0;
    while (start < length && isBlank(value[start]))
        ++start;
    copyUnits(value, value + start, length - start);
    value[length - start] = 0;
    return length - start;
}

template <typename Unit>
void makeUpper(Unit * value, int length)
{
    std::transform(value, value + length, value, toUpper<Unit>);
}

template <typename Unit>
void makeLower(Unit * value, int length)
{
    std::transform(value, value + length, value, toLower<Unit>);
}

void copyUnits(char * to, unsigned short const * from, int n)
{
    std::transform(from, from + n, to, [](unsigned short c) { return static_cast<char>(c); });
}

void copyUnits(unsigned short * to, char const * from, int n)
{
    std::transform(from, from + n, to, [](char c) { return static_cast<unsigned char>(c); });
}

void copySignExtended(unsigned short * to, char const * from, int n)
{
    std::transform(from, from + n, to,
                   [](char c) { return static_cast<unsigned short>(static_cast<signed char>(c)); });
}

void copyAsLatin1(char * to, unsigned short const * from, int n)
{
    std::transform(from, from + n, to,
                   [](unsigned short c) { return static_cast<char>(c > 0xFF ? '?' : c); });
}

NumberText::NumberText(long long number)
    : length(static_cast<int>(std::to_chars(text, text + sizeof text, number).ptr - text))
{
    text[length] = 0;
}

int toInt(char const * text, int length, bool * ok)
{
    std::string_view const characters(text, static_cast<std::size_t>(length));
    if (ok) {
        bool const signedNumber = !characters.empty() && characters.front() == '-';
        auto const digits = characters.substr(signedNumber ? 1 : 0);
        *ok = std::all_of(digits.begin(), digits.end(), isDigit);
        if (!*ok)
            return 0;
    }
    return leadingInt(characters);
}

void widenSystemText(char const * text, int length, unsigned short * to, int capacity)
{
    auto const characters = std::string_view(text, static_cast<std::size_t>(length));
    auto const written =
        platform::widenSystemText(characters.substr(0, characters.find('\0')), to, capacity - 1);
    to[written] = 0;
}

#define OX_INSTANTIATE(Unit)                                                                       \
    template int indexOfText(Unit const *, int, Unit const *, int, int, Case);                     \
    template int findUnit(Unit const *, int, Unit, int);                                           \
    template int findLastUnit(Unit const *, int, Unit, int);                                       \
    template int splice(Unit *, int, int, int, int, Unit const *, int);                            \
    template int replaceAll(Unit *, int, int, Unit const *, int, Unit const *, int, Case);         \
    template void replaceUnit(Unit *, int, Unit, Unit);                                            \
    template int removeUnit(Unit *, int, Unit);                                                    \
    template int trim(Unit *, int);                                                                \
    template void makeUpper(Unit *, int);                                                          \
    template void makeLower(Unit *, int);

OX_INSTANTIATE(char)
OX_INSTANTIATE(unsigned short)
#undef OX_INSTANTIATE

} // namespace ox::text
