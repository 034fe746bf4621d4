#pragma once

#include "shared/text/fixed_string_base.h"
#include "shared/text/printing.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

/// Fixed-capacity 8-bit strings: values without heap memory from which the farm's binary records
/// are built. The memory image is the same in every build; docs/record_layouts.md draws it.
///
///     _oxString8_evenSize<250> name = "job17";
///     name.add("_left").addNr(7);
///     if (name.indexOf("LEFT") > 0)
///         log(QString(name));
///
/// Bytes are Latin-1 where they meet a QString, and the system's code page in toWchar_t.

namespace ox::text
{

template <int Capacity>
struct EvenRecord8 {
    static_assert(Capacity > 0 && Capacity % 2 == 0 && Capacity < 0xFFFF);
    static constexpr int N = Capacity;
    using Unit = char;

    // Memory that the strings fill in; the spare byte never is.
    EvenRecord8() {}

    char value[N + 1];
    char spare; ///< brings the length to an even offset; never read nor written
    std::uint16_t length;
};

template <int Capacity>
struct UnevenRecord8 {
    static_assert(Capacity > 0 && Capacity % 2 == 1 && Capacity < 0xFFFF);
    static constexpr int N = Capacity;
    using Unit = char;

    UnevenRecord8() {}

    char value[N + 1];
    std::uint16_t length;
};

/// A wide string that has a conversion operator to S.
template <typename Wide, typename S>
concept ConvertsTo = requires(Wide const & wide)
{
    wide.operator S();
};

/// The operations that only the 8-bit strings have, beside those of FixedText.
template <typename S, typename Record>
class String8 : public FixedText<S, Record>
{
    using Base = FixedText<S, Record>;

  public:
    using Base::add;
    using Base::addNr;
    using Base::capacity;
    using Base::indexOf;
    using Base::lastIndexOf;
    using Base::length;
    using Base::size;
    using Base::value;
    using Base::operator+=;

    /// The empty string, all of its characters 0.
    String8() { this->clear(); }
    /// Everything behind the text is 0.
    String8(char const * text) : String8() { *this = text; }
    /// Takes len bytes, zeros included. len is taken as a 16-bit count.
    String8(char const * text, int len) : String8()
    {
        fromChar(text, static_cast<std::uint16_t>(len));
    }
    /// Takes the low byte of each unit up to the terminating 0.
    String8(unsigned short const * text) : String8() { *this = text; }
    explicit String8(std::string_view text) : String8() { *this = text; }
    /// Takes the Latin-1 form, '?' for other characters. What lies behind the text is not cleared.
    String8(QString const & text) { *this = text; }
    /// From a wide string that converts to this type.
    template <ConvertsTo<S> Wide>
    explicit String8(Wide const & wide) : String8(wide.operator S())
    {
    }

    /// Null empties the string and deliberately keeps all of its bytes, also the first: records
    /// that are compared as memory must not change by it.
    S & operator=(char const * text) { return text ? assign(text, std::strlen(text)) : setSize(0); }
    S & operator=(std::string_view text) { return assign(text.data(), text.size()); }
    S & operator=(char const & c) { return assign(&c, 1); }
    /// Takes the low byte of each unit up to the terminating 0; null as for bytes.
    S & operator=(unsigned short const * text)
    {
        return text ? assign(text, textLength(text)) : setSize(0);
    }
    /// Takes the Latin-1 form, '?' for other characters.
    S & operator=(QString const & text) { return assign(text.utf16(), text.size(), copyAsLatin1); }
    template <ConvertsTo<S> Wide>
    S & operator=(Wide const & wide)
    {
        return self() = wide.operator S();
    }
    /// Takes len bytes, zeros included. Null empties the string and keeps its bytes.
    S & fromChar(char const * text, int len)
    {
        return text ? assign(text, std::max(len, 0)) : setSize(0);
    }

    /// Appends as many characters as fit; null is ignored.
    S & add(char const * text) { return text ? append(text, std::strlen(text)) : self(); }
    S & add(std::string_view text) { return append(text.data(), text.size()); }
    S & operator+=(char const * text) { return add(text); }
    /// Appends the low byte of the unit when there is room.
    S & operator+=(unsigned short const & c) { return *this += static_cast<char>(c); }

    /// Appends the decimal text of a number and takes the length anew with `calcLength`. The digits
    /// and a terminator must fit into capacity - 1 - length bytes, or the string stays as it is.
    /// One byte of the free space is deliberately left out, as in every release of the farm: no
    /// text grows beyond capacity - 2 characters by it.
    S & addNr(long long number)
    {
        NumberText const digits(number);
        if (digits.length + 1 <= capacity() - 1 - size()) {
            add(digits.text);
            this->calcLength();
        }
        return self();
    }

    /// The number that the text begins with, as `atoi` reads it, at most that of an int. With `ok`
    /// the text must hold only digits behind an optional '-', or the result is 0 and *ok false; the
    /// empty text and "-" pass as 0.
    int toInt(bool * ok = nullptr) const { return text::toInt(value, size(), ok); }

    /// Whether this text, mapped to upper case, equals the argument, which is not mapped: it is
    /// upper case already.
    bool isEqualUpperInput(S const & upper) const
    {
        return size() == upper.size() &&
               std::equal(this->begin(), this->end(), upper.begin(),
                          [](char c, char expected) { return toUpper(c) == expected; });
    }

    /// As for a character, with the low byte of the unit.
    int indexOf(unsigned short const & c, int from = 0) const
    {
        return indexOf(static_cast<char>(c), from);
    }
    int lastIndexOf(unsigned short const & c, int from = -1) const
    {
        return lastIndexOf(static_cast<char>(c), from);
    }

    std::string_view view() const { return {value, static_cast<std::size_t>(size())}; }
    operator QString() const { return QString::fromLatin1(value, size()); }

    /// Writes the text up to its first 0 byte as UTF-16 units, from the system's code page (Latin-1
    /// on Linux), with a terminator. At most min(dstSize - 1, length) + 1 units are written; what
    /// does not fit is cut. Nothing is written to null or when dstSize is below 1.
    void toWchar_t(unsigned short * dst, int const & dstSize) const
    {
        if (dst && dstSize > 0)
            widenSystemText(value, size(), dst, std::min(dstSize - 1, size()) + 1);
    }

    /// The text is turned into an S first, so that all beyond the capacity is not compared.
    friend bool operator==(S const & a, QString const & b) { return a == S(b); }

    friend std::ostream & operator<<(std::ostream & stream, S const & text)
    {
        printBytes(stream, text.view());
        return stream;
    }

  private:
    using Base::append;
    using Base::assign;
    using Base::self;
    using Base::setSize;
};

} // namespace ox::text

/// 8-bit string of an even capacity: N + 1 characters, a spare byte, the length.
template <int N>
class _oxString8_evenSize
    : public ox::text::String8<_oxString8_evenSize<N>, ox::text::EvenRecord8<N>>
{
    using Base = ox::text::String8<_oxString8_evenSize, ox::text::EvenRecord8<N>>;

  public:
    /// The empty string, all of its characters 0. Not defaulted: `S()` and `S{}` would then set the
    /// spare byte to 0.
    _oxString8_evenSize() {}
    using Base::Base;
    using Base::operator=;
};

/// 8-bit string of an uneven capacity: N + 1 characters, the length.
template <int N>
class _oxString8_UnevenSize
    : public ox::text::String8<_oxString8_UnevenSize<N>, ox::text::UnevenRecord8<N>>
{
    using Base = ox::text::String8<_oxString8_UnevenSize, ox::text::UnevenRecord8<N>>;

  public:
    /// The empty string, all of its characters 0.
    _oxString8_UnevenSize() {}
    using Base::Base;
    using Base::operator=;
};

/// Storage of an 8-bit string with the length in front, for records that old applications wrote.
template <int N>
struct _oxString8_AllSize {
    _oxString8_AllSize() { clear(); }

    /// Sets the length and all N + 1 characters to 0.
    void clear()
    {
        length = 0;
        std::memset(value, 0, sizeof value);
    }

    std::uint16_t length;
    char value[N + 1];
};

namespace ox::text
{

/// The capacities that the farm's records use.
using EvenCapacities8 =
    std::integer_sequence<int, 6, 8, 10, 12, 14, 30, 40, 50, 100, 150, 200, 250, 500, 1000, 3000>;
using UnevenCapacities8 = std::integer_sequence<int, 7, 15, 25, 75, 125>;
using AllSizeCapacities8 = std::integer_sequence<int, 10>;

/// Returns whether `S` is a record of `size` bytes with its members at these offsets.
template <typename S>
constexpr bool hasLayout(std::size_t size, std::size_t value, std::size_t length)
{
    return std::is_standard_layout_v<S> && sizeof(S) == size && offsetof(S, value) == value &&
           offsetof(S, length) == length;
}

template <int... N>
constexpr bool areEvenRecords(std::integer_sequence<int, N...>)
{
    return (hasLayout<_oxString8_evenSize<N>>(N + 4, 0, N + 2) && ...);
}

template <int... N>
constexpr bool areUnevenRecords(std::integer_sequence<int, N...>)
{
    return (hasLayout<_oxString8_UnevenSize<N>>(N + 3, 0, N + 1) && ...);
}

static_assert(areEvenRecords(EvenCapacities8()));
static_assert(areUnevenRecords(UnevenCapacities8()));
static_assert(hasLayout<_oxString8_AllSize<10>>(14, 2, 0));

} // namespace ox::text

template <int N>
struct std::hash<_oxString8_evenSize<N>> {
    std::size_t operator()(_oxString8_evenSize<N> const & text) const
    {
        return std::hash<std::string_view>()(text.view());
    }
};
template <int N>
struct std::hash<_oxString8_UnevenSize<N>> {
    std::size_t operator()(_oxString8_UnevenSize<N> const & text) const
    {
        return std::hash<std::string_view>()(text.view());
    }
};
