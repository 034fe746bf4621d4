#pragma once

#include "shared/text/fixed_string_algorithms.h"

#include <QString>

#include <algorithm>
#include <compare>
#include <concepts>
#include <cstddef>
#include <utility>

class QDebug;

namespace ox::text
{

/// Common operations of the 8-bit and the wide fixed-capacity strings.
///
/// `S` is the derived string class. `Record` is the memory: `value` (capacity + 1 units) and
/// `length`. A unit is a `char` in the 8-bit strings and an `unsigned short` in the wide strings.
/// The text is the first `length` units and may contain 0 units. Unless its comment says otherwise,
/// an operation that changes the text
/// - writes a 0 unit, the terminator, after the text,
/// - silently drops the units that exceed the capacity,
/// - keeps the units after the terminator unchanged.
///
/// Records also come from files and packets, so the contents are untrusted. Every operation treats
/// a `length` above the capacity as the capacity, so that no operation accesses memory outside the
/// object. Positions and counts outside the text are clamped to the text. A null pointer counts as
/// the empty text.
///
/// "Ignoring case" applies to ASCII letters only; "exactly" means case-sensitive. An argument may
/// be the string itself or point into the string.
template <typename S, typename Record>
class FixedText : public Record
{
  public:
    /// Type of a unit: `char` or `unsigned short`.
    using Unit = typename Record::Unit;
    using Record::length;
    using Record::value;

    /// The maximum number of units of the text.
    static constexpr int capacity() { return Record::N; }

    /// Number of units of the text.
    int size() const { return std::min<int>(length, capacity()); }

    /// Returns whether the text is empty.
    bool isEmpty() const { return length == 0; }
    /// Returns whether the text is not empty.
    bool hasData() const { return length != 0; }

    /// The zero-terminated text.
    Unit const * c_str() const { return value; }
    /// The first unit.
    Unit const * begin() const { return value; }
    /// The end of the text: the position of the terminator.
    Unit const * end() const { return value + size(); }

    /// Empties the string and sets all capacity + 1 units to 0.
    void clear()
    {
        std::memset(value, 0, sizeof value);
        length = 0;
    }

    /// Sets every unit after the text to 0, so that a stored record contains no earlier text.
    void clearUnused()
    {
        auto const used = static_cast<std::size_t>(size());
        std::memset(value + used, 0, sizeof value - used * sizeof(Unit));
    }

    /// Sets the length to `n`, clamped to the range 0 to capacity, and writes the terminator. If
    /// this makes the text longer, the units after the previous end become part of the text.
    void setLength(short n) { terminateAt(std::clamp<int>(n, 0, capacity())); }

    /// Sets the length to the position of the first 0 unit in `value`, or to the capacity if none
    /// of the first `capacity()` units is 0.
    void calcLength()
    {
        int const zero = findUnit<Unit>(value, capacity(), 0, 0);
        terminateAt(zero < 0 ? capacity() : zero);
    }

    /// Appends as much of `other` as fits.
    S & add(S const & other) { return append(other.value, other.size()); }
    /// Appends as many of the `n` units at `text` as fit, including 0 units. Null is ignored.
    S & add(Unit const * text, unsigned int n) { return text ? append(text, n) : self(); }
    /// Appends as much of `other` as fits.
    S & operator+=(S const & other) { return add(other); }
    /// Appends the unit `c`, if it fits.
    S & operator+=(Unit const & c) { return append(&c, 1); }

    /// Returns a copy with `other` appended, cut at the capacity.
    S operator+(S const & other) const { return S(self()).add(other); }
    /// Returns a copy with the unit `c` appended, if it fits.
    S operator+(Unit const & c) const { return S(self()) += c; }
    /// Returns a copy with `text` (zero-terminated Latin-1) appended, cut at the capacity. Null is
    /// ignored.
    S combined(char const * text) const { return S(self()).add(text); }

    /// Returns this text followed by the QString `text`. The result is a QString and is not cut at
    /// the capacity.
    QString operator+(QString const & text) const { return QString(self()) + text; }
    /// Returns this text followed by `text` (zero-terminated Latin-1). The result is a QString and
    /// is not cut at the capacity.
    QString operator+(char const * text) const
    {
        return QString(self()) + QString::fromLatin1(text);
    }

    /// Appends `number` in decimal, padded on the left with zeros to at least `minDigits`
    /// characters. The minus sign counts as a character. The text is cut at the capacity.
    /// Compatibility: the zeros precede the minus sign, as in the farm's stored names: -5 with
    /// `minDigits` 3 is "0-5".
    S & addNr(long long number, unsigned char minDigits)
    {
        NumberText const digits(number);
        for (int i = digits.length; i < minDigits; ++i)
            *this += Unit{'0'};
        return self().add(digits.text);
    }

    /// Returns -1, 0 or 1 if the text is less than, equal to or greater than `other`, ignoring
    /// case. Compares the unsigned values of the units in upper case; a prefix of a text is less
    /// than the text.
    int compare(S const & other) const
    {
        return compareIgnoringCase<Unit>(value, size(), other.value, other.size());
    }

    /// Returns whether the text equals `other`, ignoring case.
    bool isEqual(S const & other) const { return isEqual(other.value, other.size()); }
    /// Returns whether the text equals the `n` units at `text`, ignoring case.
    bool isEqual(Unit const * text, int n) const
    {
        return n == size() && (n == 0 || (text && equalIgnoringCase(value, text, n)));
    }
    /// Returns whether the text equals the `n` units at `text`, exactly.
    bool isEqualSameCase(Unit const * text, int n) const
    {
        return n == size() && (n == 0 || (text && equal(value, text, n)));
    }

    /// Returns the position of the first occurrence of `needle` at or after `from`, or -1. The
    /// search ignores case. If a wide string gets `needle` as bytes, they are sign-extended.
    int indexOf(S const & needle, int from = 0) const
    {
        return search(needle, from, Case::Ignored);
    }
    /// Returns the position of the first occurrence of `needle` at or after `from`, or -1. The
    /// search is case-sensitive. If a wide string gets `needle` as bytes, they are sign-extended.
    /// Compatibility: if `needle` and the text have the same length, their case is ignored, since
    /// the farm's applications look up whole names with this function.
    int indexOfCaseSen(S const & needle, int from = 0) const
    {
        return search(needle, from, Case::Exact);
    }
    /// Returns the position of the first occurrence of the unit `c` at or after `from`, or -1. The
    /// search is case-sensitive. A `from` outside the text counts as 0.
    int indexOf(Unit const & c, int from = 0) const
    {
        return findUnit<Unit>(value, size(), c, from);
    }
    /// Returns the position of the last occurrence of the unit `c` at or before `from`, or -1. The
    /// search is case-sensitive. A `from` outside the text counts as the last position of the text.
    int lastIndexOf(Unit const & c, int from = -1) const
    {
        return findLastUnit<Unit>(value, size(), c, from);
    }

    /// Returns whether the text contains `needle`, ignoring case. Every text contains the empty
    /// needle.
    bool contains(S const & needle) const { return indexOf(needle) >= 0; }
    /// Returns whether the text contains `needle` (zero-terminated Latin-1), ignoring case. Every
    /// text contains the empty needle.
    bool contains(char const * needle) const
    {
        S text;
        return contains(text = needle);
    }
    /// Returns whether the text contains the unit `c`, exactly.
    bool contains(Unit const & c) const { return indexOf(c) >= 0; }

    /// Returns whether the text begins with `prefix`, ignoring case. False if `prefix` is empty.
    bool startsWith(S const & prefix) const { return startsWith(prefix.value, prefix.size()); }
    /// Returns whether the text begins with `prefix` (zero-terminated Latin-1), ignoring case.
    /// False if `prefix` is empty.
    bool startsWith(char const * prefix) const { return prefix && hasAt(prefix, Start); }
    /// Returns whether the text begins with the `n` units at `prefix`, ignoring case. False if `n`
    /// is 0.
    bool startsWith(Unit const * prefix, int n) const
    {
        return prefix && n > 0 && n <= size() && equalIgnoringCase(value, prefix, n);
    }
    /// Returns whether the text begins with the unit `c`, exactly.
    bool startsWith(Unit const & c) const { return hasData() && value[0] == c; }
    /// Returns whether the text begins with `prefix` (zero-terminated Latin-1), exactly. An
    /// empty `prefix` matches every text that is not empty.
    bool startsWithCaseSen(char const * prefix) const { return hasAtStartExactly(prefix); }

    /// Returns whether the text ends with `suffix`, ignoring case. False if `suffix` is empty.
    bool endsWith(S const & suffix) const
    {
        int const n = suffix.size();
        return n > 0 && n <= size() && equalIgnoringCase(end() - n, suffix.value, n);
    }
    /// Returns whether the text ends with `suffix` (zero-terminated Latin-1), ignoring case. False
    /// if `suffix` is empty.
    bool endsWith(char const * suffix) const { return suffix && hasAt(suffix, End); }
    /// Returns whether the text ends with `suffix` (zero-terminated), ignoring case. False if
    /// `suffix` is empty, if `n` is 0, or if `n` is above the length of the text.
    /// Compatibility: the whole suffix is compared, not only its first `n` units, since callers
    /// pass an `n` that is not the length of the suffix.
    bool endsWith(Unit const * suffix, int n) const
    {
        return suffix && n != 0 && n <= size() && hasAt(suffix, End);
    }
    /// Returns whether the text ends with the unit `c`, exactly.
    bool endsWith(Unit const & c) const { return hasData() && end()[-1] == c; }

    /// Removes the units 0, tab, line feed, carriage return and blank from both ends.
    S & trim() { return setSize(text::trim<Unit>(value, size())); }

    /// Replaces every occurrence of `before` by `after`, ignoring case, from left to right.
    /// Inserted text is not searched. The text is cut at the capacity after each replacement. If
    /// bytes are passed to a wide string, each byte is sign-extended to a unit.
    S & replace(S const & before, S const & after)
    {
        return replaceText(before, after, Case::Ignored);
    }
    /// Replaces every occurrence of `before` by `after`, as `replace` does, but the search is
    /// case-sensitive. Exception: if `before` and the text have the same length, case is ignored,
    /// as in `indexOfCaseSen`.
    S & replaceCaseSen(S const & before, S const & after)
    {
        return replaceText(before, after, Case::Exact);
    }
    /// Replaces every unit that equals `c`, ignoring case, with `by`.
    S & replace(Unit const & c, Unit const & by)
    {
        replaceUnit<Unit>(value, size(), c, by);
        return self();
    }

    /// Removes every occurrence of `text`, ignoring case. An occurrence that a removal creates is
    /// kept: "aabb" without "ab" is "ab". If a wide string gets `text` as bytes, each byte is
    /// sign-extended to a unit: 0xE9 becomes 0xFFE9.
    S & remove(S const & text) { return replaceText(text, S(), Case::Ignored); }
    /// Removes every occurrence of `text`, as `remove` does, but the search is case-sensitive. As
    /// in `indexOfCaseSen`, case is ignored if `text` has the same length as this text.
    S & removeCaseSens(S const & text) { return replaceText(text, S(), Case::Exact); }
    /// Removes every unit that equals `c`, ignoring case. Returns a copy of the changed string.
    S remove(Unit const & c) { return setSize(removeUnit<Unit>(value, size(), c)); }
    /// Removes the `n` units that begin at position `pos`.
    S & remove(int pos, int n)
    {
        pos = clampPosition(pos);
        n = std::clamp(n, 0, size() - pos);
        return setSize(splice<Unit>(value, size(), capacity(), pos, n, nullptr, 0));
    }

    /// Inserts `text` at position `pos`; the result is cut at the capacity. If `text` is passed as
    /// bytes to a wide string, each byte is sign-extended to a unit: 0xE9 becomes 0xFFE9.
    S & insert(int pos, S const & text)
    {
        if (&text == this)
            return insert(pos, S(text));
        return setSize(splice<Unit>(value, size(), capacity(), clampPosition(pos), 0, text.value,
                                    text.size()));
    }

    /// Returns a copy of the `n` units that begin at position `pos`.
    S mid(int pos, int n) const
    {
        pos = clampPosition(pos);
        S result;
        return result.add(value + pos, static_cast<unsigned>(std::clamp(n, 0, size() - pos)));
    }
    /// Returns a copy of the first `n` units.
    S left(int n) const { return mid(0, n); }

    /// Maps the ASCII letters to upper case.
    S & makeUpper()
    {
        text::makeUpper<Unit>(value, size());
        return self();
    }
    /// Maps the ASCII letters to lower case.
    S & makeLower()
    {
        text::makeLower<Unit>(value, size());
        return self();
    }

    /// Returns whether `a` equals `b`, exactly.
    friend bool operator==(S const & a, S const & b)
    {
        if (a.length == b.length && a.length <= capacity()) [[likely]]
            return equal(a.value, b.value, a.length);
        return a.isEqualSameCase(b.value, b.size());
    }
    /// Returns whether `a` equals `b` (zero-terminated Latin-1), exactly. False if `b` is null.
    friend bool operator==(S const & a, char const * b)
    {
        return b && std::strlen(b) == static_cast<std::size_t>(a.size()) &&
               equal(a.value, b, a.size());
    }

    /// Compares `a` with `b` by `memcmp` over the shorter of the two lengths, then by length.
    /// Compatibility: sorted records are searched with this order. In wide strings, `memcmp`
    /// compares the low byte of each unit first, so the unit 0x0100 is less than 0x00FF.
    friend std::strong_ordering operator<=>(S const & a, S const & b)
    {
        auto const shorter = std::min<std::ptrdiff_t>({a.length, b.length, capacity()});
        std::strong_ordering const prefixes = order(a.value, b.value, shorter) <=> 0;
        return prefixes != 0 ? prefixes : a.size() <=> b.size();
    }
    /// Compares `a` with `b` (zero-terminated Latin-1) as `<=>` compares two strings. `b` may be
    /// longer than the capacity. Null counts as the empty text.
    friend std::strong_ordering operator<=>(S const & a, char const * b)
    {
        char const * const text = b ? b : "";
        return a.orderTo(text, static_cast<std::ptrdiff_t>(std::strlen(text)));
    }

    /// Prints the text to a QDebug.
    template <std::same_as<QDebug> Debug>
    friend Debug operator<<(Debug debug, S const & text)
    {
        return debug << QString(text);
    }

  protected:
    /// Leaves the memory uninitialised; the constructors of `S` initialise it.
    FixedText() {}

    /// Copies the length and all capacity + 1 units, including the units after the terminator.
    /// Does not copy the spare byte of an 8-bit string of even capacity.
    FixedText(FixedText const & other) : Record() { *this = other; }
    FixedText & operator=(FixedText const & other)
    {
        length = other.length;
        std::memmove(value, other.value, sizeof value);
        return *this;
    }
    ~FixedText() = default;

    S & self() { return static_cast<S &>(*this); }
    S const & self() const { return static_cast<S const &>(*this); }

    S & setSize(int n)
    {
        length = static_cast<std::uint16_t>(n);
        return self();
    }
    S & terminateAt(int n)
    {
        value[n] = 0;
        return setSize(n);
    }

    /// Returns how many of `n` units fit after the first `used` units.
    template <std::integral Count>
    static int fitting(Count n, int used = 0)
    {
        auto const freeUnits = static_cast<unsigned>(capacity() - used);
        return static_cast<int>(std::cmp_less(n, freeUnits) ? static_cast<unsigned>(n) : freeUnits);
    }

    /// Assigns the `n` units or bytes at `from`, cut at the capacity. `copy(to, from, count)`
    /// copies or converts the units that fit.
    template <typename From, std::integral Count, typename Copy>
    S & assign(From const * from, Count n, Copy copy)
    {
        int const taken = fitting(n);
        copy(value, from, taken);
        return terminateAt(taken);
    }
    template <typename From, std::integral Count>
    S & assign(From const * from, Count n)
    {
        return assign(from, n, [](Unit * to, From const * text, int k) { copyUnits(to, text, k); });
    }

    template <typename From, std::integral Count, typename Copy>
    S & append(From const * from, Count n, Copy copy)
    {
        int const used = size();
        int const taken = fitting(n, used);
        copy(value + used, from, taken);
        return terminateAt(used + taken);
    }
    template <typename From, std::integral Count>
    S & append(From const * from, Count n)
    {
        return append(from, n, [](Unit * to, From const * text, int k) { copyUnits(to, text, k); });
    }

    /// Compares this text with the `n` units or Latin-1 bytes at `text`, by the rules of `<=>` for
    /// two strings. `n` may exceed the capacity.
    template <typename From>
    std::strong_ordering orderTo(From const * text, std::ptrdiff_t n) const
    {
        std::strong_ordering const prefixes =
            order(value, text, std::min<std::ptrdiff_t>(size(), n)) <=> 0;
        return prefixes != 0 ? prefixes : size() <=> n;
    }

    enum Side : bool { Start, End };

    /// Returns whether this text begins (`Start`) or ends (`End`) with `text` (zero-terminated),
    /// ignoring case. False if `text` is empty.
    template <typename From>
    bool hasAt(From const * text, Side side) const
    {
        std::size_t const n = textLength(text);
        if (n == 0 || n > static_cast<std::size_t>(size()))
            return false;
        int const count = static_cast<int>(n);
        return equalIgnoringCase(side == Start ? begin() : end() - count, text, count);
    }

    /// Returns whether this text begins with `text` (zero-terminated), exactly. False if this text
    /// is empty.
    template <typename From>
    bool hasAtStartExactly(From const * text) const
    {
        if (isEmpty() || !text)
            return false;
        std::size_t const n = textLength(text);
        return n <= static_cast<std::size_t>(size()) && equal(value, text, static_cast<int>(n));
    }

  private:
    int clampPosition(int pos) const { return std::clamp(pos, 0, size()); }

    int search(S const & needle, int from, Case letters) const
    {
        return indexOfText<Unit>(value, size(), needle.value, needle.size(), from, letters);
    }

    S & replaceText(S const & before, S const & after, Case letters)
    {
        if (&before == this || &after == this)
            return replaceText(S(before), S(after), letters);
        return setSize(replaceAll<Unit>(value, size(), capacity(), before.value, before.size(),
                                        after.value, after.size(), letters));
    }
};

/// Accepts every class that derives from FixedText. The concept FixedString tests whether a type is
/// accepted.
template <typename S, typename Record>
void isFixedText(FixedText<S, Record> const &);

/// A fixed-capacity string, 8-bit or wide.
template <typename S>
concept FixedString = requires(S const & text)
{
    isFixedText(text);
};

/// A fixed-capacity 8-bit string.
template <typename S>
concept FixedString8 = FixedString<S> && sizeof(typename S::Unit) == 1;

/// Two fixed-capacity strings of different types, where a unit of A is at least as wide as a unit
/// of B. For the swapped operands (B, A) the compiler uses the operators of (A, B).
template <typename A, typename B>
concept DifferentFixedStrings = FixedString<A> && FixedString<B> && !std::same_as<A, B> &&
                                sizeof(typename A::Unit) >= sizeof(typename B::Unit);

/// Returns whether `a` exactly equals `b`, a string of another type. A byte equals the unit of the
/// same value (Latin-1).
template <typename A, typename B>
requires DifferentFixedStrings<A, B>
bool operator==(A const & a, B const & b)
{
    return a.size() == b.size() && equal(a.value, b.value, a.size());
}
/// Compares `a` with `b`, a string of another type, by the rules of `<=>` for strings of one type.
/// A byte counts as the unit of the same value (Latin-1).
template <typename A, typename B>
requires DifferentFixedStrings<A, B> std::strong_ordering operator<=>(A const & a, B const & b)
{
    std::strong_ordering const prefixes =
        order(a.value, b.value, std::min(a.size(), b.size())) <=> 0;
    return prefixes != 0 ? prefixes : a.size() <=> b.size();
}

} // namespace ox::text
