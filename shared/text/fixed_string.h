#pragma once

#include "shared/text/fixed_string8.h"
#include "shared/text/printing.h"

#include <string_view>
#include <utility>

/// Fixed-capacity UTF-16 strings without heap memory, for texts with characters beyond Latin-1. A
/// surrogate pair counts as two characters. A cut at the capacity can split a surrogate pair.
///
///     _oxString<500> path = QStringLiteral("D:\\jobs\\Łódź.oxdb");
///     if (path.endsWith(".oxdb"))
///         path.remove(path.size() - 5, 5);

namespace ox::text
{

#ifdef __GNUC__
/// A unit of a wide string. The attribute allows view() to access the unit as `char16_t`.
using WideUnit [[gnu::may_alias]] = unsigned short;
#else
/// A unit of a wide string.
using WideUnit = unsigned short;
#endif

template <int Capacity>
struct WideRecord {
    static_assert(Capacity > 0 && Capacity < 0xFFFF);
    static constexpr int N = Capacity; ///< the maximum number of units of the text
    using Unit = unsigned short;

    WideRecord() {}

    WideUnit value[N + 1];      ///< the text and its terminator
    std::uint16_t length;       ///< units of the text, without the terminator
    std::uint16_t reserved = 0; ///< set by the constructors only; never read
};

/// Returns a QString of the `length` UTF-16 units at `units`. A byte order mark is kept.
OX_EXPORT QString toQString(unsigned short const * units, int length);
/// Implements _oxString::toOXUTF8.
OX_EXPORT QString toTransportForm(QString const & text);
/// Implements _oxString::fromOXUTF8. Null gives the empty text.
OX_EXPORT QString fromTransportForm(char const * text);

} // namespace ox::text

/// UTF-16 string of capacity N. Memory: N + 1 units, the length, a reserved word.
///
/// Bytes become units in one of two ways:
/// - Sign extension (byte 0xE9 becomes unit 0xFFE9): the constructors from bytes, `+=`, and `+`
///   with a character. Bytes that are passed for an _oxString parameter are also sign-extended.
///   `indexOf`, `indexOfCaseSen`, `replace`, `replaceCaseSen`, `remove`, `removeCaseSens`,
///   `insert`, `compare` and `isEqual` have such parameters: pass non-ASCII texts as QString.
/// - Latin-1 (byte 0xE9 becomes unit 0x00E9): assignment, `+` with a text, `add`, `combined`,
///   `contains`, `startsWith`, `endsWith` and the comparison operators.
///
/// Compatibility: stored records contain units of both conversions and are compared unit by unit.
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

    /// Creates the empty string and sets all units to 0.
    _oxString() { this->clear(); }
    /// Creates a string of the character `c`, sign-extended.
    _oxString(char const & c) : _oxString() { *this += c; }
    /// Creates a string of `text` (zero-terminated bytes), sign-extended. Null gives the empty
    /// string.
    _oxString(char const * text) : _oxString() { *this += text; }
    /// Creates a string of the `len` bytes at `text`, including 0 bytes. Sign-extends the bytes.
    /// Only the low 16 bits of `len` count. Null gives the empty string.
    _oxString(char const * text, int len) : _oxString()
    {
        if (text)
            assign(text, static_cast<std::uint16_t>(len), ox::text::copySignExtended);
    }
    /// Copies `text` (zero-terminated UTF-16). Null gives the empty string.
    _oxString(unsigned short const * text) : _oxString() { *this = text; }
    /// Copies the `len` UTF-16 units at `text`, including 0 units. Only the low 16 bits of `len`
    /// count. Null gives the empty string.
    _oxString(unsigned short const * text, int len) : _oxString()
    {
        if (text)
            assign(text, static_cast<std::uint16_t>(len));
    }
    /// Copies the UTF-16 units of the view `text`.
    explicit _oxString(std::u16string_view text) : _oxString() { *this = text; }
    /// Copies the QString `text`. Leaves the units after the terminator uninitialised.
    _oxString(QString const & text) { *this = text; }

    /// Assigns `text` (zero-terminated Latin-1).
    /// Compatibility: records are compared by memcmp. Null therefore sets the length to 0 but keeps
    /// all units of `value`, even the first.
    _oxString & operator=(char const * text)
    {
        return text ? assign(text, std::strlen(text)) : setSize(0);
    }
    /// Assigns `text` (zero-terminated UTF-16). Null sets the length to 0 and keeps all units of
    /// `value`.
    _oxString & operator=(unsigned short const * text)
    {
        return text ? assign(text, ox::text::textLength(text)) : setSize(0);
    }
    /// Assigns the UTF-16 unit `c`.
    _oxString & operator=(unsigned short const & c) { return assign(&c, 1); }
    /// Assigns the Latin-1 bytes of the view `text`.
    _oxString & operator=(std::string_view text) { return assign(text.data(), text.size()); }
    /// Assigns the UTF-16 units of the view `text`.
    _oxString & operator=(std::u16string_view text) { return assign(units(text), text.size()); }
    /// Assigns the QString `text`.
    _oxString & operator=(QString const & text) { return assign(text.utf16(), text.size()); }

    /// Appends as much of `text` (zero-terminated Latin-1) as fits. Null is ignored.
    _oxString & add(char const * text) { return text ? append(text, std::strlen(text)) : *this; }
    /// Appends as much of `text` (zero-terminated UTF-16) as fits. Null is ignored.
    _oxString & add(unsigned short const * text)
    {
        return text ? append(text, ox::text::textLength(text)) : *this;
    }
    /// Appends as many of the Latin-1 bytes of the view `text` as fit.
    _oxString & add(std::string_view text) { return append(text.data(), text.size()); }
    /// Appends as many of the UTF-16 units of the view `text` as fit.
    _oxString & add(std::u16string_view text) { return append(units(text), text.size()); }
    /// Appends as many Latin-1 bytes of the 8-bit string `text` as fit.
    template <ox::text::FixedString8 S8>
    _oxString & add(S8 const & text)
    {
        return append(text.value, text.size());
    }
    /// Appends as much of `text` (zero-terminated bytes) as fits, sign-extended. Null is ignored.
    _oxString & operator+=(char const * text)
    {
        return text ? append(text, std::strlen(text), ox::text::copySignExtended) : *this;
    }
    /// Appends the byte `c`, sign-extended, if it fits.
    _oxString & operator+=(char const & c) { return append(&c, 1, ox::text::copySignExtended); }
    /// Appends the UTF-16 unit `c`, if it fits.
    _oxString & operator+=(char16_t const & c) { return *this += static_cast<unsigned short>(c); }
    /// Appends as much of `text` (zero-terminated UTF-16) as fits. Null is ignored.
    _oxString & operator+=(unsigned short const * text) { return add(text); }
    /// Appends as much of the QString `text` as fits.
    _oxString & operator+=(QString const & text) { return append(text.utf16(), text.size()); }

    /// Returns a copy with `text` (zero-terminated UTF-16) appended, cut at the capacity. Null is
    /// ignored.
    _oxString combined(unsigned short const * text) const { return _oxString(*this).add(text); }

    /// Returns a copy with the byte `c` appended, sign-extended, if it fits.
    _oxString operator+(char const & c) const { return _oxString(*this) += c; }
    /// Returns a copy with the UTF-16 unit `c` appended, if it fits.
    _oxString operator+(char16_t const & c) const { return _oxString(*this) += c; }
    /// Returns this text followed by `text` (zero-terminated UTF-16). The result is a QString and
    /// is not cut at the capacity. Null is ignored.
    QString operator+(unsigned short const * text) const
    {
        std::size_t const n = text ? ox::text::textLength(text) : 0;
        return QString(*this) + ox::text::toQString(text, static_cast<int>(n));
    }

    /// Appends `number` in decimal, cut at the capacity. Appends nothing if the number has more
    /// than 13 characters.
    /// Compatibility: the farm's applications write the number with a terminator into a buffer of
    /// 14 bytes.
    _oxString & addNr(long long number)
    {
        ox::text::NumberText const digits(number);
        return digits.length < 14 ? add(digits.text) : *this;
    }

    /// Returns whether the text begins with the QString `prefix`, ignoring case by Qt's Unicode
    /// rules. True if `prefix` is empty.
    bool startsWith(QString const & prefix) const
    {
        return QString(*this).startsWith(prefix, Qt::CaseInsensitive);
    }
    /// Returns whether the text ends with the QString `suffix`, ignoring case by Qt's Unicode
    /// rules. True if `suffix` is empty.
    bool endsWith(QString const & suffix) const
    {
        return QString(*this).endsWith(suffix, Qt::CaseInsensitive);
    }
    /// Returns whether the text contains the QString `needle`, ignoring case by Qt's Unicode rules.
    bool contains(QString const & needle) const
    {
        return QString(*this).contains(needle, Qt::CaseInsensitive);
    }

    /// Returns whether the text contains `needle` (zero-terminated UTF-16), ignoring the case of
    /// ASCII letters.
    bool contains(unsigned short const * needle) const { return contains(_oxString(needle)); }
    /// Returns whether the text begins with `prefix` (zero-terminated UTF-16), ignoring the case of
    /// ASCII letters. False if `prefix` is empty.
    bool startsWith(unsigned short const * prefix) const
    {
        return prefix && this->hasAt(prefix, Base::Start);
    }
    /// Returns whether the text begins with `prefix` (zero-terminated UTF-16), exactly. An empty
    /// `prefix` matches every text that is not empty.
    bool startsWithCaseSen(unsigned short const * prefix) const
    {
        return this->hasAtStartExactly(prefix);
    }
    /// Returns whether the text ends with `suffix` (zero-terminated UTF-16), ignoring the case of
    /// ASCII letters. False if `suffix` is empty.
    bool endsWith(unsigned short const * suffix) const
    {
        return suffix && this->hasAt(suffix, Base::End);
    }

    /// Copies the low bytes of the units to the `dstSize` bytes at `dst` and writes a terminator.
    /// Omits units that do not fit. Writes nothing if `dst` is null or `dstSize` is 0.
    void toChar(char * dst, unsigned short dstSize) const
    {
        if (!dst || dstSize == 0)
            return;
        int const n = std::min(size(), dstSize - 1);
        ox::text::copyUnits(dst, value, n);
        dst[n] = 0;
    }

    /// Converts to an 8-bit string of the low bytes of the first 249 units. Convert only texts of
    /// at most 249 units: the result has the length of this text, even if fewer units are copied.
    /// For 8-bit strings of any capacity other than 250 and 500, the text is converted to a QString
    /// first, then to Latin-1 with '?' for other characters, and cut at the capacity.
    /// Compatibility: the farm's applications detect a cut text by the length of the result.
    operator _oxString8_evenSize<250>() const { return narrowed<250>(); }
    /// Converts to an 8-bit string of the low bytes of the first 499 units. Convert only texts of
    /// at most 499 units: the result has the length of this text, even if fewer units are copied.
    operator _oxString8_evenSize<500>() const { return narrowed<500>(); }

    /// Returns the text encoded by oxToOXUTF8 with `keepOriginal` false, cut at 500 characters.
    _oxString8_evenSize<500> toOXUTF8() const { return ox::text::toTransportForm(*this); }
    /// Assigns `text` (zero-terminated Latin-1), decoded by oxFromOXUTF8. Null gives the empty
    /// string.
    _oxString & fromOXUTF8(char const * text) { return *this = ox::text::fromTransportForm(text); }
    /// Assigns `text` (zero-terminated UTF-8). Null gives the empty string.
    _oxString & fromUTF8(char const * text) { return *this = QString::fromUtf8(text); }

    /// Returns a view of the text, valid until the string changes.
    std::u16string_view view() const
    {
        return {reinterpret_cast<char16_t const *>(value), static_cast<std::size_t>(size())};
    }
    /// Converts to a view of the text, valid until the string changes. A temporary string does not
    /// convert, since the view could outlive the string: call view() instead.
    operator std::u16string_view() const & { return view(); }
    operator std::u16string_view() const && = delete;
    /// Converts the text to a QString. A byte order mark is kept.
    operator QString() const { return ox::text::toQString(value, size()); }

    /// Returns whether `a` equals the QString `b`, exactly.
    friend bool operator==(_oxString const & a, QString const & b)
    {
        return a.size() == b.size() && ox::text::equal(a.value, b.utf16(), a.size());
    }
    /// Returns whether `a` equals `b` (zero-terminated UTF-16), exactly. False if `b` is null.
    friend bool operator==(_oxString const & a, unsigned short const * b)
    {
        return b && ox::text::textLength(b) == static_cast<std::size_t>(a.size()) &&
               ox::text::equal(a.value, b, a.size());
    }
    /// Compares `a` with the QString `b` as `<=>` compares two wide strings.
    friend std::strong_ordering operator<=>(_oxString const & a, QString const & b)
    {
        return a.orderTo(b.utf16(), b.size());
    }
    /// Compares `a` with `b` (zero-terminated UTF-16) as `<=>` compares two wide strings. Null
    /// counts as the empty text.
    friend std::strong_ordering operator<=>(_oxString const & a, unsigned short const * b)
    {
        static constexpr unsigned short empty = 0;
        unsigned short const * const text = b ? b : &empty;
        return a.orderTo(text, static_cast<std::ptrdiff_t>(ox::text::textLength(text)));
    }

    /// Prints the text to `stream` as UTF-8.
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

static_assert(hasLayout<_oxString<10>>(26, 0, 22) && offsetof(_oxString<10>, reserved) == 24);

} // namespace ox::text

/// Hash of the text, for the unordered containers of the standard library.
template <int N>
struct std::hash<_oxString<N>> {
    std::size_t operator()(_oxString<N> const & text) const
    {
        return std::hash<std::u16string_view>()(text.view());
    }
};
