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

/// What the 8-bit and the wide fixed-capacity strings have in common.
///
/// `S` is the string class itself, `Record` its memory: `value`, capacity + 1 units, and `length`.
/// A unit is a `char` in the 8-bit strings and an `unsigned short` in the wide ones. The text is
/// the first `length` units; it may hold 0 units. Every operation keeps a 0 unit behind the text
/// and the length within the capacity; what does not fit is dropped without a word. Units behind
/// the terminator keep what they held, unless an operation says that it clears them.
///
/// Records also come from files and packets. A `length` above the capacity counts as the capacity
/// in every operation, so that no operation reads or writes outside the object. Positions and
/// counts outside the text are moved to its ends. Null pointers stand for no text.
///
/// "Ignoring case" concerns the ASCII letters only. Any argument may be the string itself or lie in
/// it.
template <typename S, typename Record>
class FixedText : public Record
{
  public:
    using Unit = typename Record::Unit;
    using Record::length;
    using Record::value;

    /// The largest number of units the string can hold.
    static constexpr int capacity() { return Record::N; }

    /// Number of units in the text.
    int size() const { return std::min<int>(length, capacity()); }

    bool isEmpty() const { return length == 0; }
    bool hasData() const { return length != 0; }

    /// The text with its terminator.
    Unit const * c_str() const { return value; }
    Unit const * begin() const { return value; }
    Unit const * end() const { return value + size(); }

    /// Empties the string and sets all capacity + 1 units to 0.
    void clear()
    {
        std::memset(value, 0, sizeof value);
        length = 0;
    }

    /// Sets every unit behind the text to 0, so that a stored record carries no left-overs.
    void clearUnused()
    {
        auto const used = static_cast<std::size_t>(size());
        std::memset(value + used, 0, sizeof value - used * sizeof(Unit));
    }

    /// Cuts or extends the text to n units (0 for less, the capacity for more) and writes the
    /// terminator; the units between the old and the new end are not touched.
    void setLength(short n) { terminateAt(std::clamp<int>(n, 0, capacity())); }

    /// Takes the text up to the first 0 unit, or all of the capacity when there is none.
    void calcLength()
    {
        int const zero = findUnit<Unit>(value, capacity(), 0, 0);
        terminateAt(zero < 0 ? capacity() : zero);
    }

    /// Appends as much of the text as fits.
    S & add(S const & other) { return append(other.value, other.size()); }
    /// Appends n units, zeros included, as many as fit.
    S & add(Unit const * text, unsigned int n) { return text ? append(text, n) : self(); }
    S & operator+=(S const & other) { return add(other); }
    /// Appends one unit when there is room for it.
    S & operator+=(Unit const & c) { return append(&c, 1); }

    /// A copy with the argument appended as `add` does.
    S operator+(S const & other) const { return S(self()).add(other); }
    S operator+(Unit const & c) const { return S(self()) += c; }
    S combined(char const * text) const { return S(self()).add(text); }

    /// The text followed by the argument, as a QString of unlimited length; bytes are Latin-1.
    QString operator+(QString const & text) const { return QString(self()) + text; }
    QString operator+(char const * text) const
    {
        return QString(self()) + QString::fromLatin1(text);
    }

    /// Appends the decimal text of a number with at least minDigits characters, as far as they fit.
    /// The minus sign counts, and missing zeros go in front of it, deliberately: -5 with three
    /// digits is "0-5", as the farm's older names have it.
    S & addNr(long long number, unsigned char minDigits)
    {
        NumberText const digits(number);
        for (int i = digits.length; i < minDigits; ++i)
            *this += Unit{'0'};
        return self().add(digits.text);
    }

    /// Order of the upper-cased texts by unsigned unit values; on an equal prefix the shorter comes
    /// first. -1, 0 or 1.
    int compare(S const & other) const
    {
        return compareIgnoringCase<Unit>(value, size(), other.value, other.size());
    }

    /// Equality, ignoring case.
    bool isEqual(S const & other) const { return isEqual(other.value, other.size()); }
    bool isEqual(Unit const * text, int n) const
    {
        return n == size() && (n == 0 || (text && equalIgnoringCase(value, text, n)));
    }
    /// Exact equality.
    bool isEqualSameCase(Unit const * text, int n) const
    {
        return n == size() && (n == 0 || (text && equal(value, text, n)));
    }

    /// First position >= from of the needle, ignoring case, or -1. In the wide strings bytes are
    /// sign-extended.
    int indexOf(S const & needle, int from = 0) const
    {
        return search(needle, from, Case::Ignored);
    }
    /// As `indexOf`, but exact; only a needle as long as the text is still compared ignoring case.
    /// Compatibility: the farm's applications look up whole names this way.
    int indexOfCaseSen(S const & needle, int from = 0) const
    {
        return search(needle, from, Case::Exact);
    }
    /// First position >= from of a unit, exactly, or -1. A from outside the text searches all of
    /// it.
    int indexOf(Unit const & c, int from = 0) const
    {
        return findUnit<Unit>(value, size(), c, from);
    }
    /// Last position <= from of a unit, exactly, or -1. A from outside the text searches all of it.
    int lastIndexOf(Unit const & c, int from = -1) const
    {
        return findLastUnit<Unit>(value, size(), c, from);
    }

    /// Whether the text holds the needle, ignoring case. Every text holds the empty one. Bytes are
    /// Latin-1.
    bool contains(S const & needle) const { return indexOf(needle) >= 0; }
    bool contains(char const * needle) const
    {
        S text;
        return contains(text = needle);
    }
    /// Whether the text holds the unit, exactly.
    bool contains(Unit const & c) const { return indexOf(c) >= 0; }

    /// Whether the text begins with the prefix, ignoring case. No text begins with the empty
    /// prefix.
    bool startsWith(S const & prefix) const { return startsWith(prefix.value, prefix.size()); }
    bool startsWith(char const * prefix) const { return prefix && hasAt(prefix, Start); }
    /// The prefix is the first n units at the pointer.
    bool startsWith(Unit const * prefix, int n) const
    {
        return prefix && n > 0 && n <= size() && equalIgnoringCase(value, prefix, n);
    }
    /// Whether the text begins with the unit, exactly.
    bool startsWith(Unit const & c) const { return hasData() && value[0] == c; }
    /// Whether the text begins with the prefix, exactly. Every text but the empty one begins with
    /// the empty prefix.
    bool startsWithCaseSen(char const * prefix) const { return hasAtStartExactly(prefix); }

    /// Whether the text ends with the suffix, ignoring case. No text ends with the empty suffix.
    bool endsWith(S const & suffix) const
    {
        int const n = suffix.size();
        return n > 0 && n <= size() && equalIgnoringCase(end() - n, suffix.value, n);
    }
    bool endsWith(char const * suffix) const { return suffix && hasAt(suffix, End); }
    /// n is only a guard: false when it is 0 or above the length. The whole zero-terminated suffix
    /// is compared, deliberately, as the callers pass counts that are not its length.
    bool endsWith(Unit const * suffix, int n) const
    {
        return suffix && n != 0 && n <= size() && hasAt(suffix, End);
    }
    /// Whether the text ends with the unit, exactly.
    bool endsWith(Unit const & c) const { return hasData() && end()[-1] == c; }

    /// Removes the units 0, 9, 10, 13 and 32 from both ends.
    S & trim() { return setSize(text::trim<Unit>(value, size())); }

    /// Replaces every occurrence of a text, ignoring case, from left to right; what was inserted is
    /// never searched, and the text is cut at the capacity after each replacement. In the wide
    /// strings bytes are sign-extended.
    S & replace(S const & before, S const & after)
    {
        return replaceText(before, after, Case::Ignored);
    }
    /// As `replace`, with the search of `indexOfCaseSen`.
    S & replaceCaseSen(S const & before, S const & after)
    {
        return replaceText(before, after, Case::Exact);
    }
    /// Replaces every unit that is equal to c in either case by the same unit.
    S & replace(Unit const & c, Unit const & by)
    {
        replaceUnit<Unit>(value, size(), c, by);
        return self();
    }

    /// Removes every occurrence of a text, ignoring case. What grows together is not searched
    /// again. In the wide strings bytes are sign-extended.
    S & remove(S const & text) { return replaceText(text, S(), Case::Ignored); }
    /// As `remove`, with the search of `indexOfCaseSen`.
    S & removeCaseSens(S const & text) { return replaceText(text, S(), Case::Exact); }
    /// Removes every unit that is equal to c in either case, and returns a copy of the result.
    S remove(Unit const & c) { return setSize(removeUnit<Unit>(value, size(), c)); }
    /// Removes n units at pos.
    S & remove(int pos, int n)
    {
        pos = clampPosition(pos);
        n = std::clamp(n, 0, size() - pos);
        return setSize(splice<Unit>(value, size(), capacity(), pos, n, nullptr, 0));
    }

    /// Puts a text in front of the unit at pos. In the wide strings bytes are sign-extended.
    S & insert(int pos, S const & text)
    {
        if (&text == this)
            return insert(pos, S(text));
        return setSize(splice<Unit>(value, size(), capacity(), clampPosition(pos), 0, text.value,
                                    text.size()));
    }

    /// The n units from pos.
    S mid(int pos, int n) const
    {
        pos = clampPosition(pos);
        S result;
        return result.add(value + pos, static_cast<unsigned>(std::clamp(n, 0, size() - pos)));
    }
    /// The first n units.
    S left(int n) const { return mid(0, n); }

    /// Maps the ASCII letters.
    S & makeUpper()
    {
        text::makeUpper<Unit>(value, size());
        return self();
    }
    S & makeLower()
    {
        text::makeLower<Unit>(value, size());
        return self();
    }

    /// Exact equality; bytes are Latin-1. Nothing equals a null pointer.
    friend bool operator==(S const & a, S const & b)
    {
        if (a.length == b.length && a.length <= capacity()) [[likely]]
            return equal(a.value, b.value, a.length);
        return a.isEqualSameCase(b.value, b.size());
    }
    friend bool operator==(S const & a, char const * b)
    {
        return b && std::strlen(b) == static_cast<std::size_t>(a.size()) &&
               equal(a.value, b, a.size());
    }

    /// Order of the memory: the bytes over the shorter length, then the lengths. In the wide
    /// strings the low byte of each unit comes first, so that 0x0100 is smaller than 0x00FF. This
    /// is deliberate: sorted records are searched by memory comparison.
    friend std::strong_ordering operator<=>(S const & a, S const & b)
    {
        auto const shorter = std::min<std::ptrdiff_t>({a.length, b.length, capacity()});
        std::strong_ordering const prefixes = order(a.value, b.value, shorter) <=> 0;
        return prefixes != 0 ? prefixes : a.size() <=> b.size();
    }
    /// A pointer compares with its whole text, also beyond the capacity; null is the empty text.
    friend std::strong_ordering operator<=>(S const & a, char const * b)
    {
        char const * const text = b ? b : "";
        return a.orderTo(text, static_cast<std::ptrdiff_t>(std::strlen(text)));
    }

    template <std::same_as<QDebug> Debug>
    friend Debug operator<<(Debug debug, S const & text)
    {
        return debug << QString(text);
    }

  protected:
    /// Leaves the memory as it is: the strings' constructors fill it in.
    FixedText() {}

    /// Copies the length and all capacity + 1 units, the left-overs behind the terminator included;
    /// memory between the two is not touched.
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

    /// How much of a text of n units fits behind the first `used` ones.
    template <std::integral Count>
    static int fitting(Count n, int used = 0)
    {
        auto const room = static_cast<unsigned>(capacity() - used);
        return static_cast<int>(std::cmp_less(n, room) ? static_cast<unsigned>(n) : room);
    }

    /// Takes the text to which `copy(to, from, n)` brings n units or bytes.
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

    /// Order of the memory of this text and of n units, which may exceed the capacity.
    template <typename From>
    std::strong_ordering orderTo(From const * text, std::ptrdiff_t n) const
    {
        std::strong_ordering const prefixes =
            order(value, text, std::min<std::ptrdiff_t>(size(), n)) <=> 0;
        return prefixes != 0 ? prefixes : size() <=> n;
    }

    enum Side : bool { Start, End };

    /// Whether a zero-terminated text, which is not empty, stands at an end of this one, ignoring
    /// case.
    template <typename From>
    bool hasAt(From const * text, Side side) const
    {
        std::size_t const n = textLength(text);
        if (n == 0 || n > static_cast<std::size_t>(size()))
            return false;
        int const count = static_cast<int>(n);
        return equalIgnoringCase(side == Start ? begin() : end() - count, text, count);
    }

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

template <typename S, typename Record>
void isFixedText(FixedText<S, Record> const &);

/// A fixed-capacity string, 8-bit or wide.
template <typename S>
concept FixedString = requires(S const & text)
{
    isFixedText(text);
};

template <typename S>
concept FixedString8 = FixedString<S> && sizeof(typename S::Unit) == 1;

/// Two fixed strings of different types, the wider one first. C++ tries the other order by itself.
template <typename A, typename B>
concept DifferentFixedStrings = FixedString<A> && FixedString<B> && !std::same_as<A, B> &&
                                sizeof(typename A::Unit) >= sizeof(typename B::Unit);

/// Equality and order of strings of any two capacities, by the same rules as within one type: whole
/// texts are compared, and bytes are Latin-1 beside units.
template <typename A, typename B>
requires DifferentFixedStrings<A, B>
bool operator==(A const & a, B const & b)
{
    return a.size() == b.size() && equal(a.value, b.value, a.size());
}
template <typename A, typename B>
requires DifferentFixedStrings<A, B> std::strong_ordering operator<=>(A const & a, B const & b)
{
    std::strong_ordering const prefixes =
        order(a.value, b.value, std::min(a.size(), b.size())) <=> 0;
    return prefixes != 0 ? prefixes : a.size() <=> b.size();
}

} // namespace ox::text
