#pragma once

#include "shared/text/fixed_string_base.h"
#include "shared/text/printing.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <utility>

/// Fixed-capacity 8-bit strings without heap memory, for the farm's binary records. The memory
/// layout is the same in every build; docs/record_layouts.md shows it.
///
///     _oxString8_evenSize<250> name = "job17";
///     name.add("_left").addNr(7);
///     if (name.indexOf("LEFT") > 0)
///         log(QString(name));
///
/// Conversions between bytes and QString use Latin-1. Only toWchar_t uses the system's code page.

namespace ox::text
{

template <int Capacity>
struct EvenRecord8 {
    static_assert(Capacity > 0 && Capacity % 2 == 0 && Capacity < 0xFFFF);
    static constexpr int N = Capacity; ///< the maximum number of units of the text
    using Unit = char;

    // Leaves the memory uninitialised. The constructors of the strings set `value` and `length`;
    // none sets `spare`.
    EvenRecord8() {}

    char value[N + 1];    ///< the text and its terminator
    char spare;           ///< aligns the length to an even offset; never read or written
    std::uint16_t length; ///< characters of the text, without the terminator
};

template <int Capacity>
struct UnevenRecord8 {
    static_assert(Capacity > 0 && Capacity % 2 == 1 && Capacity < 0xFFFF);
    static constexpr int N = Capacity; ///< the maximum number of units of the text
    using Unit = char;

    UnevenRecord8() {}

    char value[N + 1];    ///< the text and its terminator
    std::uint16_t length; ///< characters of the text, without the terminator
};

/// A wide string with a conversion operator to `S`.
template <typename Wide, typename S>
concept ConvertsTo = requires(Wide const & wide)
{
    wide.operator S();
};

/// Operations of the 8-bit strings, in addition to those of FixedText.
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

    /// Creates the empty string and sets all characters to 0.
    String8() { this->clear(); }
    /// Copies `text` (zero-terminated) and sets all further characters to 0. Null gives the empty
    /// string.
    String8(char const * text) : String8() { *this = text; }
    /// Copies the `len` bytes at `text`, including 0 bytes, and sets all further characters to 0.
    /// Only the low 16 bits of `len` count. Null gives the empty string.
    String8(char const * text, int len) : String8()
    {
        fromChar(text, static_cast<std::uint16_t>(len));
    }
    /// Copies the low bytes of the units of `text` (zero-terminated UTF-16). Null gives the empty
    /// string.
    String8(unsigned short const * text) : String8() { *this = text; }
    /// Copies the bytes of the view `text`.
    explicit String8(std::string_view text) : String8() { *this = text; }
    /// Copies the QString `text` as Latin-1, with '?' for other characters. Leaves the characters
    /// after the terminator uninitialised.
    String8(QString const & text) { *this = text; }
    /// Converts the wide string `wide` by its conversion operator.
    template <ConvertsTo<S> Wide>
    explicit String8(Wide const & wide) : String8(wide.operator S())
    {
    }

    /// Assigns `text` (zero-terminated).
    /// Compatibility: records are compared by memcmp. Null therefore sets the length to 0 but keeps
    /// all bytes of `value`, even the first.
    S & operator=(char const * text) { return text ? assign(text, std::strlen(text)) : setSize(0); }
    /// Assigns the bytes of the view `text`.
    S & operator=(std::string_view text) { return assign(text.data(), text.size()); }
    /// Assigns the character `c`.
    S & operator=(char const & c) { return assign(&c, 1); }
    /// Assigns the low bytes of the units of `text` (zero-terminated UTF-16). Null sets the length
    /// to 0 and keeps all bytes of `value`.
    S & operator=(unsigned short const * text)
    {
        return text ? assign(text, textLength(text)) : setSize(0);
    }
    /// Assigns the QString `text` as Latin-1, with '?' for other characters.
    S & operator=(QString const & text) { return assign(text.utf16(), text.size(), copyAsLatin1); }
    /// Assigns the wide string `wide`, converted by its conversion operator.
    template <ConvertsTo<S> Wide>
    S & operator=(Wide const & wide)
    {
        return self() = wide.operator S();
    }
    /// Assigns the `len` bytes at `text`, including 0 bytes. Null sets the length to 0 and keeps
    /// all bytes of `value`.
    S & fromChar(char const * text, int len)
    {
        return text ? assign(text, std::max(len, 0)) : setSize(0);
    }

    /// Appends as much of `text` (zero-terminated) as fits. Null is ignored.
    S & add(char const * text) { return text ? append(text, std::strlen(text)) : self(); }
    /// Appends as many bytes of the view `text` as fit.
    S & add(std::string_view text) { return append(text.data(), text.size()); }
    /// Appends as much of `text` (zero-terminated) as fits. Null is ignored.
    S & operator+=(char const * text) { return add(text); }
    /// Appends the low byte of the UTF-16 unit `c`, if it fits.
    S & operator+=(unsigned short const & c) { return *this += static_cast<char>(c); }

    /// Appends `number` in decimal, then sets the length with `calcLength`. Leaves the string
    /// unchanged if the result would be longer than capacity - 2 characters.
    /// Compatibility: every release of the farm leaves two characters of the capacity unused.
    S & addNr(long long number)
    {
        NumberText const digits(number);
        if (digits.length + 1 <= capacity() - 1 - size()) {
            add(digits.text);
            this->calcLength();
        }
        return self();
    }

    /// Parses the number at the start of the text as `atoi` does. A number beyond the range of int
    /// gives the nearest int.
    ///
    /// If `ok` is not null, sets *ok to whether the whole text consists of an optional '-' and
    /// digits. If *ok is false, returns 0. For the empty text and "-", *ok is true and the result
    /// is 0.
    int toInt(bool * ok = nullptr) const { return text::toInt(value, size(), ok); }

    /// Returns whether the text equals `upper`, ignoring case. `upper` must be in upper case.
    bool isEqualUpperInput(S const & upper) const
    {
        return size() == upper.size() &&
               std::equal(this->begin(), this->end(), upper.begin(),
                          [](char c, char expected) { return toUpper(c) == expected; });
    }

    /// Returns the position of the first byte at or after `from` that equals the low byte of the
    /// UTF-16 unit `c`, or -1. The search is case-sensitive. A `from` outside the text counts as 0.
    int indexOf(unsigned short const & c, int from = 0) const
    {
        return indexOf(static_cast<char>(c), from);
    }
    /// Returns the position of the last byte at or before `from` that equals the low byte of the
    /// UTF-16 unit `c`, or -1. The search is case-sensitive. A `from` outside the text counts as
    /// the last position of the text.
    int lastIndexOf(unsigned short const & c, int from = -1) const
    {
        return lastIndexOf(static_cast<char>(c), from);
    }

    /// Returns a view of the text, valid until the string changes.
    std::string_view view() const { return {value, static_cast<std::size_t>(size())}; }
    /// Converts to a view of the text, valid until the string changes. A temporary string does not
    /// convert, since the view could outlive the string: call view() instead.
    operator std::string_view() const & { return view(); }
    operator std::string_view() const && = delete;
    /// Converts the text from Latin-1 to a QString.
    operator QString() const { return QString::fromLatin1(value, size()); }

    /// Converts the text from the system's code page (Latin-1 on Linux) to zero-terminated UTF-16
    /// at `dst`. The conversion ends at the first 0 byte. Writes at most min(dstSize - 1, length)
    /// units and the terminator; longer results are cut. Writes nothing if `dst` is null or
    /// `dstSize` is below 1.
    void toWchar_t(unsigned short * dst, int const & dstSize) const
    {
        if (dst && dstSize > 0)
            widenSystemText(value, size(), dst, std::min(dstSize - 1, size()) + 1);
    }

    /// Returns whether `a` equals the QString `b`, exactly. `b` is first converted to a string of
    /// this type, so characters beyond the capacity are not compared.
    friend bool operator==(S const & a, QString const & b) { return a == S(b); }

    /// Prints the bytes of the text to `stream`.
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

/// 8-bit string of an even capacity. Memory: N + 1 characters, a spare byte, the length.
template <int N>
class _oxString8_evenSize
    : public ox::text::String8<_oxString8_evenSize<N>, ox::text::EvenRecord8<N>>
{
    using Base = ox::text::String8<_oxString8_evenSize, ox::text::EvenRecord8<N>>;

  public:
    /// Creates the empty string and sets all characters to 0. The spare byte is not set; if this
    /// constructor were `= default`, `S()` and `S{}` would set it to 0.
    _oxString8_evenSize() {}
    using Base::Base;
    using Base::operator=;
};

/// 8-bit string of an uneven capacity. Memory: N + 1 characters, the length.
template <int N>
class _oxString8_UnevenSize
    : public ox::text::String8<_oxString8_UnevenSize<N>, ox::text::UnevenRecord8<N>>
{
    using Base = ox::text::String8<_oxString8_UnevenSize, ox::text::UnevenRecord8<N>>;

  public:
    /// Creates the empty string and sets all characters to 0.
    _oxString8_UnevenSize() {}
    using Base::Base;
    using Base::operator=;
};

/// Storage of an 8-bit string with the length before the text, for records of old applications.
template <int N>
struct _oxString8_AllSize {
    /// Creates the empty string.
    _oxString8_AllSize() { clear(); }

    /// Sets the length and all N + 1 characters to 0.
    void clear()
    {
        length = 0;
        std::memset(value, 0, sizeof value);
    }

    std::uint16_t length; ///< characters of the text, without the terminator
    char value[N + 1];    ///< the text and its terminator
};

namespace ox::text
{

/// The even capacities that the farm's records use.
using EvenCapacities8 =
    std::integer_sequence<int, 6, 8, 10, 12, 14, 30, 40, 50, 100, 150, 200, 250, 500, 1000, 3000>;
/// The uneven capacities that the farm's records use.
using UnevenCapacities8 = std::integer_sequence<int, 7, 15, 25, 75, 125>;
/// The capacities of `_oxString8_AllSize` that the farm's records use.
using AllSizeCapacities8 = std::integer_sequence<int, 10>;

/// Returns whether `S` has the layout of a record: `size` bytes, with the members `value` and
/// `length` at the offsets in the parameters `value` and `length`.
template <typename S>
constexpr bool hasLayout(std::size_t size, std::size_t value, std::size_t length)
{
    return std::is_standard_layout_v<S> && sizeof(S) == size && offsetof(S, value) == value &&
           offsetof(S, length) == length;
}

// A compiler option of an application, such as one for packed structures, could change the layout
// of the farm's records. One capacity of each template shows this; fixed_string.cpp checks all
// capacities.
static_assert(hasLayout<_oxString8_evenSize<10>>(14, 0, 12));
static_assert(hasLayout<_oxString8_UnevenSize<15>>(18, 0, 16));
static_assert(hasLayout<_oxString8_AllSize<10>>(14, 2, 0));

} // namespace ox::text

/// Hash of the text, for the unordered containers of the standard library.
template <int N>
struct std::hash<_oxString8_evenSize<N>> {
    std::size_t operator()(_oxString8_evenSize<N> const & text) const
    {
        return std::hash<std::string_view>()(text.view());
    }
};
/// Hash of the text, for the unordered containers of the standard library.
template <int N>
struct std::hash<_oxString8_UnevenSize<N>> {
    std::size_t operator()(_oxString8_UnevenSize<N> const & text) const
    {
        return std::hash<std::string_view>()(text.view());
    }
};
