#pragma once

#include "shared/text/fixed_string8.h"
#include "shared/text/printing.h"

#include <string_view>

/// Fixed-capacity wide strings: the UTF-16 counterpart of the 8-bit strings, for texts that may
/// hold any character. A surrogate pair counts as two characters and may be cut in two at the
/// capacity.
///
///     _oxString<500> path = QStringLiteral("D:\\jobs\\Łódź.oxdb");
///     if (path.endsWith(".oxdb"))
///         path.remove(path.size() - 5, 5);

namespace ox::text
{

#ifdef __GNUC__
/// The units are also reached as `char16_t`, through view().
using WideUnit [[gnu::may_alias]] = unsigned short;
#else
using WideUnit = unsigned short;
#endif

template <int Capacity>
struct WideRecord {
    static_assert(Capacity > 0 && Capacity < 0xFFFF);
    static constexpr int N = Capacity;
    using Unit = unsigned short;

    WideRecord() {}

    WideUnit value[N + 1];
    std::uint16_t length;
    std::uint16_t reserved = 0; ///< set by every constructor and by nothing else; never read
};

OX_EXPORT QString toQString(unsigned short const * units, int length);
OX_EXPORT QString toTransportForm(QString const & text);
OX_EXPORT QString fromTransportForm(char const * text);

} // namespace ox::text

/// UTF-16 string: N + 1 units, the length, a reserved word.
///
/// Bytes become units in two ways:
/// - The constructors from bytes and `+=` extend the sign: byte 0xE9 becomes unit 0xFFE9. So do the
///   operations that take an _oxString and get bytes, which its constructor converts: `indexOf`,
///   `indexOfCaseSen`, `replace`, `replaceCaseSen`, `remove`, `removeCaseSens`, `insert`, `compare`
///   and `isEqual`. For other than ASCII letters pass them a QString.
/// - Assignment, `add`, `combined`, `contains`, `startsWith`, `endsWith` and the comparison
///   operators take bytes as Latin-1: 0xE9 becomes 0x00E9.
///
/// Compatibility: stored records hold units of both kinds and are compared unit by unit.
template <int N>
class _oxString : public ox::text::FixedText<_oxString<N>, ox::text::WideRecord<N>>
{
    using Base = ox::text::FixedText<_oxString, ox::text::WideRecord<N>>;

  public:
    using Base::add;
    using Base::addNr;
    using Base::combined;
    using Base::contains;
    using Base::endsWith;
    using Base::length;
    using Base::size;
    using Base::startsWith;
    using Base::startsWithCaseSen;
    using Base::value;
    using Base::operator+;
    using Base::operator+=;

    /// The empty string, all of its units 0.
    _oxString() { this->clear(); }
    /// One character, sign-extended.
    _oxString(char const & c) : _oxString() { *this += c; }
    /// Bytes, sign-extended.
    _oxString(char const * text) : _oxString() { *this += text; }
    /// Takes len bytes, sign-extended, zeros included. len is taken as a 16-bit count.
    _oxString(char const * text, int len) : _oxString()
    {
        if (text)
            assign(text, static_cast<std::uint16_t>(len), ox::text::copySignExtended);
    }
    /// Units up to the terminating 0.
    _oxString(unsigned short const * text) : _oxString() { *this = text; }
    /// Takes len units, zeros included. len is taken as a 16-bit count.
    _oxString(unsigned short const * text, int len) : _oxString()
    {
        if (text)
            assign(text, static_cast<std::uint16_t>(len));
    }
    explicit _oxString(std::u16string_view text) : _oxString() { *this = text; }
    /// What lies behind the text is not cleared.
    _oxString(QString const & text) { *this = text; }

    /// Bytes are Latin-1. Null empties the string and deliberately keeps its units, also the first:
    /// records that are compared as memory must not change by it.
    _oxString & operator=(char const * text)
    {
        return text ? assign(text, std::strlen(text)) : setSize(0);
    }
    /// Null as for bytes.
    _oxString & operator=(unsigned short const * text)
    {
        return text ? assign(text, ox::text::textLength(text)) : setSize(0);
    }
    _oxString & operator=(unsigned short const & c) { return assign(&c, 1); }
    /// Bytes are Latin-1.
    _oxString & operator=(std::string_view text) { return assign(text.data(), text.size()); }
    _oxString & operator=(std::u16string_view text) { return assign(units(text), text.size()); }
    _oxString & operator=(QString const & text) { return assign(text.utf16(), text.size()); }

    /// Appends as many characters as fit; bytes are Latin-1, null is ignored.
    _oxString & add(char const * text) { return text ? append(text, std::strlen(text)) : *this; }
    _oxString & add(unsigned short const * text)
    {
        return text ? append(text, ox::text::textLength(text)) : *this;
    }
    _oxString & add(std::string_view text) { return append(text.data(), text.size()); }
    _oxString & add(std::u16string_view text) { return append(units(text), text.size()); }
    template <ox::text::FixedString8 S8>
    _oxString & add(S8 const & text)
    {
        return append(text.value, text.size());
    }
    /// As `add`, but the bytes are sign-extended.
    _oxString & operator+=(char const * text)
    {
        return text ? append(text, std::strlen(text), ox::text::copySignExtended) : *this;
    }
    _oxString & operator+=(char const & c) { return append(&c, 1, ox::text::copySignExtended); }
    _oxString & operator+=(char16_t const & c) { return *this += static_cast<unsigned short>(c); }
    _oxString & operator+=(unsigned short const * text) { return add(text); }
    _oxString & operator+=(QString const & text) { return append(text.utf16(), text.size()); }

    /// A copy with the units appended as `add` does.
    _oxString combined(unsigned short const * text) const { return _oxString(*this).add(text); }

    /// A copy with the character appended, sign-extended.
    _oxString operator+(char const & c) const { return _oxString(*this) += c; }
    _oxString operator+(char16_t const & c) const { return _oxString(*this) += c; }
    /// The text followed by the argument, as a QString of unlimited length.
    QString operator+(unsigned short const * text) const
    {
        std::size_t const n = text ? ox::text::textLength(text) : 0;
        return QString(*this) + ox::text::toQString(text, static_cast<int>(n));
    }

    /// Appends the decimal text of a number. It passes through a room of 14 bytes, as the farm's
    /// records do: a number of more than 13 characters leaves the string as it is.
    _oxString & addNr(long long number)
    {
        ox::text::NumberText const digits(number);
        return digits.length < 14 ? add(digits.text) : *this;
    }

    /// Ignoring case by Qt's Unicode rules, other than the forms that compare units.
    bool startsWith(QString const & prefix) const
    {
        return QString(*this).startsWith(prefix, Qt::CaseInsensitive);
    }
    bool endsWith(QString const & suffix) const
    {
        return QString(*this).endsWith(suffix, Qt::CaseInsensitive);
    }
    bool contains(QString const & needle) const
    {
        return QString(*this).contains(needle, Qt::CaseInsensitive);
    }

    /// The forms for zero-terminated units; see those for bytes.
    bool contains(unsigned short const * needle) const { return contains(_oxString(needle)); }
    bool startsWith(unsigned short const * prefix) const
    {
        return prefix && this->hasAt(prefix, Base::Start);
    }
    bool startsWithCaseSen(unsigned short const * prefix) const
    {
        return this->hasAtStartExactly(prefix);
    }
    bool endsWith(unsigned short const * suffix) const
    {
        return suffix && this->hasAt(suffix, Base::End);
    }

    /// Writes the low byte of each unit, min(length, size - 1) of them, and a terminator. Nothing
    /// is written to null or when size is 0.
    void toChar(char * dst, unsigned short dstSize) const
    {
        if (!dst || dstSize == 0)
            return;
        int const n = std::min(size(), dstSize - 1);
        ox::text::copyUnits(dst, value, n);
        dst[n] = 0;
    }

    /// The low bytes of the first 249 (499) characters. 8-bit strings of every other capacity take
    /// a wide string through QString: the Latin-1 form, '?' for other characters, cut at their
    /// capacity.
    ///
    /// Compatibility: the length is this string's, also where fewer characters arrive, since the
    /// farm's applications detect a cut text by it. Convert only texts of at most 249 (499)
    /// characters.
    operator _oxString8_evenSize<250>() const { return narrowed<250>(); }
    operator _oxString8_evenSize<500>() const { return narrowed<500>(); }

    /// The text in the transport form of encoding.h, the original word not kept before its run; cut
    /// at 500 characters.
    _oxString8_evenSize<500> toOXUTF8() const { return ox::text::toTransportForm(*this); }
    /// Takes a text in the transport form; null gives the empty string.
    _oxString & fromOXUTF8(char const * text) { return *this = ox::text::fromTransportForm(text); }
    /// Takes UTF-8 text; null gives the empty string.
    _oxString & fromUTF8(char const * text) { return *this = QString::fromUtf8(text); }

    std::u16string_view view() const
    {
        return {reinterpret_cast<char16_t const *>(value), static_cast<std::size_t>(size())};
    }
    operator QString() const { return ox::text::toQString(value, size()); }

    /// Exact, units and lengths. Nothing equals a null pointer.
    friend bool operator==(_oxString const & a, QString const & b)
    {
        return a.size() == b.size() && ox::text::equal(a.value, b.utf16(), a.size());
    }
    friend bool operator==(_oxString const & a, unsigned short const * b)
    {
        return b && ox::text::textLength(b) == static_cast<std::size_t>(a.size()) &&
               ox::text::equal(a.value, b, a.size());
    }
    /// Order of the memory, as between two wide strings.
    friend std::strong_ordering operator<=>(_oxString const & a, QString const & b)
    {
        return a.orderTo(b.utf16(), b.size());
    }
    friend std::strong_ordering operator<=>(_oxString const & a, unsigned short const * b)
    {
        static constexpr unsigned short empty = 0;
        unsigned short const * const text = b ? b : &empty;
        return a.orderTo(text, static_cast<std::ptrdiff_t>(ox::text::textLength(text)));
    }

    /// Prints UTF-8.
    friend std::ostream & operator<<(std::ostream & stream, _oxString const & text)
    {
        ox::text::printUtf8(stream, text);
        return stream;
    }

  private:
    using Base::append;
    using Base::assign;
    using Base::setSize;

    static unsigned short const * units(std::u16string_view text)
    {
        return reinterpret_cast<unsigned short const *>(text.data());
    }

    template <int Size>
    _oxString8_evenSize<Size> narrowed() const
    {
        _oxString8_evenSize<Size> result;
        toChar(result.value, Size);
        result.length = length;
        return result;
    }
};

namespace ox::text
{

/// The capacities that the farm's records use.
using WideCapacities = std::integer_sequence<int, 10, 25, 30, 48, 50, 75, 100, 125, 150, 200, 225,
                                             250, 500, 1000, 2500>;

template <int... N>
constexpr bool areWideRecords(std::integer_sequence<int, N...>)
{
    return ((hasLayout<_oxString<N>>(2 * N + 6, 0, 2 * N + 2) &&
             offsetof(_oxString<N>, reserved) == 2 * N + 4) &&
            ...);
}

static_assert(areWideRecords(WideCapacities()));

} // namespace ox::text

template <int N>
struct std::hash<_oxString<N>> {
    std::size_t operator()(_oxString<N> const & text) const
    {
        return std::hash<std::u16string_view>()(text.view());
    }
};
