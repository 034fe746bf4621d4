#include "shared/text/format.h"

#include "shared/text/encoding.h"
#include "shared/text/utf16_view.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

namespace
{

/// A number that is padded with zeros to `digits` characters.
struct Number {
    long long value;
    int digits = 0;
};

Number number(long long value)
{
    return {value};
}
Number digits2(long long value)
{
    return {value, 2};
}
Number digits3(long long value)
{
    return {value, 3};
}

unsigned long long magnitude(long long n)
{
    return n < 0 ? 0 - static_cast<unsigned long long>(n) : static_cast<unsigned long long>(n);
}

/// Concatenates pieces of text on the stack, so that the resulting QString is the only allocation.
class Line
{
  public:
    void add(char16_t c) { *end_++ = c; }
    void add(std::u16string_view text) { end_ = std::copy(text.begin(), text.end(), end_); }
    void add(Number const & number)
    {
        char text[20];
        char * const textEnd = std::to_chars(text, std::end(text), magnitude(number.value)).ptr;
        auto missing = number.digits - (textEnd - text);
        if (number.value < 0) {
            add(u'-');
            --missing;
        }
        for (; missing > 0; --missing)
            add(u'0');
        end_ = std::copy(text, textEnd, end_);
    }

    QString toQString() const
    {
        return ox::text::toQString({units_, static_cast<std::size_t>(end_ - units_)});
    }

  private:
    char16_t units_[80]; // enough for three numbers with separators
    char16_t * end_ = units_;
};

/// Concatenates pieces of text. At most three of the pieces may be numbers, since the buffer of
/// Line has space for three.
template <typename... Piece>
QString line(Piece... pieces)
{
    Line result;
    (result.add(pieces), ...);
    return result.toQString();
}

/// Collects the digits of a number from right to left.
class DigitsFromRight
{
  public:
    void add(char16_t c) { *--begin_ = c; }
    void addDigit(unsigned long long digit) { add(u"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"[digit]); }
    auto size() const { return std::end(units_) - begin_; }
    QString toQString() const
    {
        return ox::text::toQString({begin_, static_cast<std::size_t>(size())});
    }

  private:
    char16_t units_[32];
    char16_t * begin_ = std::end(units_);
};

QString withThousands(long long n, bool spaceForPositive, char16_t separator)
{
    DigitsFromRight text;
    auto left = magnitude(n);
    // Compatibility: 1000 has no separator, as in the farm's columns.
    while (left > 1000) {
        for (int i = 0; i < 3; ++i, left /= 10)
            text.addDigit(left % 10);
        text.add(separator);
    }
    do
        text.addDigit(left % 10);
    while ((left /= 10) != 0);
    if (n < 0)
        text.add(u'-');
    else if (spaceForPositive)
        text.add(u' ');
    return text.toQString();
}

/// Truncates `x` toward zero. Returns the nearest Int for a number outside the range of Int, and 0
/// for NaN.
template <typename Int>
Int truncated(double x)
{
    constexpr double end = -static_cast<double>(std::numeric_limits<Int>::min());
    if (std::isnan(x))
        return 0;
    if (x >= end)
        return std::numeric_limits<Int>::max();
    return x < -end ? std::numeric_limits<Int>::min() : static_cast<Int>(x);
}

/// Returns 10 to the power of `exponent`, computed by repeated multiplication in single precision.
/// The table is computed at compile time: at run time some processors would keep the intermediate
/// products at a higher precision, and the results would differ.
float powerOfTen(int exponent)
{
    static constexpr auto powers = [] {
        std::array<float, std::numeric_limits<float>::max_exponent10 + 1> result{1};
        for (std::size_t i = 1; i < result.size(); ++i)
            result[i] = result[i - 1] * 10;
        return result;
    }();
    if (exponent >= static_cast<int>(powers.size()))
        return std::numeric_limits<float>::infinity();
    return powers[static_cast<std::size_t>(std::max(exponent, 0))];
}

enum class Occurrence { First, Last };

/// Truncates `text` before the first or the last occurrence of a separator, ignoring case. Returns
/// the removed part, or nothing if no separator occurs.
std::optional<QString> cut(QString & text, Occurrence which,
                           std::initializer_list<QString const *> separators)
{
    decltype(text.size()) cutAt = -1;
    for (QString const * separator : separators) {
        if (separator->isEmpty())
            continue;
        auto const found = which == Occurrence::First
                               ? text.indexOf(*separator, 0, Qt::CaseInsensitive)
                               : text.lastIndexOf(*separator, -1, Qt::CaseInsensitive);
        if (found >= 0 && (cutAt < 0 || (found < cutAt) == (which == Occurrence::First)))
            cutAt = found;
    }
    if (cutAt < 0)
        return std::nullopt;
    QString rest = text.mid(cutAt);
    text.truncate(cutAt);
    return rest;
}

} // namespace

QString bool2str(bool const & b, bool const & asWord)
{
    if (asWord)
        return b ? QStringLiteral("true") : QStringLiteral("false");
    return b ? QStringLiteral("1") : QStringLiteral("0");
}

QString bool2String(bool const & b)
{
    return bool2str(b, false);
}

_oxString<25> int2Str(int const & v)
{
    return _oxString<25>().addNr(v);
}

_oxString<25> float2Str(float f, int const & decimals, unsigned short const & separator)
{
    double const value = std::clamp<double>(f, INT_MIN, INT_MAX);
    int const whole = truncated<int>(value);
    // Compatibility: the product is rounded to a float before the fraction is rounded, so 0.35 with
    // one decimal becomes 0.4.
    auto const scaled = static_cast<float>((value - whole) * powerOfTen(decimals));
    auto const fraction = truncated<long long>(scaled + (scaled >= 0 ? 0.5 : -0.5));

    _oxString<25> text = int2Str(whole);
    text += separator;
    return text.addNr(fraction, static_cast<unsigned char>(std::clamp(decimals, 0, UCHAR_MAX)));
}

QString numberToStr(unsigned long long n, int const & maxDigits)
{
    DigitsFromRight text;
    do {
        if (text.size() >= maxDigits)
            break;
        text.addDigit(n % 36);
    } while ((n /= 36) != 0);
    return text.toQString();
}

QString byte2Hex(unsigned char const * bytes, int const & count)
{
    if (!bytes || count <= 0)
        return {};
    using Size = decltype(QString().size());
    QString text(2 * Size{count}, Qt::Uninitialized);
    QChar * out = text.data();
    for (unsigned char const * byte = bytes; byte != bytes + count; ++byte) {
        *out++ = u"0123456789abcdef"[*byte >> 4];
        *out++ = u"0123456789abcdef"[*byte & 15];
    }
    return text;
}

QString oxPointTsd(long long n, bool spaceForPositive)
{
    return withThousands(n, spaceForPositive, u'.');
}

QString oxSpaceTsd(long long n, bool spaceForPositive)
{
    return withThousands(n, spaceForPositive, u' ');
}

QString oxSec2ms(long long s)
{
    return line(digits2(s / 60), u'.', digits2(s % 60));
}

QString oxSec2hm(int s)
{
    return line(digits2(s / 3600), u':', digits2(s / 60 % 60));
}

QString oxSec2hms(int s, bool shortForm)
{
    int const minutes = s / 60 % 60;
    int const seconds = std::abs(s % 60);
    if (!shortForm || s < -3600 || s > 3600)
        return line(digits2(s / 3600), u':', digits2(std::abs(minutes)), u'.', digits2(seconds));
    if (s < -60 || s > 60)
        return line(minutes >= 0 && minutes < 10 ? u" " : u"", number(minutes), u'.',
                    digits2(seconds));
    return line(s < 0 ? u'-' : u' ', u"0.", digits2(seconds));
}

QString oxSec2dhm(long long s)
{
    return line(number(s / 3600 / 24), u"d ", digits2(s / 3600), u':', digits2(s / 60 % 60));
}

QString oxSec2dhms(long long s)
{
    if (s > 36 * 3600)
        return line(number(s / 3600 / 24), u"d ", number(s / 3600 % 24), u'h');
    return line(digits2(s / 3600), u':', digits2(s / 60 % 60), u'.', digits2(s % 60));
}

QString oxMill2s(int ms, bool const & always)
{
    if (!always && ms < 1001)
        return line(u'.', digits3(ms % 1000));
    return line(number(ms / 1000), u'.', digits3(ms % 1000));
}

void splitAtLastOccurence(QString & str, QString & rest, QString const & sep1, QString const & sep2,
                          QString const & sep3)
{
    if (auto tail = cut(str, Occurrence::Last, {&sep1, &sep2, &sep3}))
        rest = *std::move(tail);
}

void splitAtFirstOccurence(QString & str, QString & rest, QString const & sep1,
                           QString const & sep2, QString const & sep3)
{
    if (auto tail = cut(str, Occurrence::First, {&sep1, &sep2, &sep3}))
        rest = *std::move(tail);
}

void cutAtLastOccurence(QString & str, QString const & sep1, QString const & sep2,
                        QString const & sep3)
{
    cut(str, Occurrence::Last, {&sep1, &sep2, &sep3});
}

void cutAtFirstOccurence(QString & str, QString const & sep1, QString const & sep2,
                         QString const & sep3)
{
    cut(str, Occurrence::First, {&sep1, &sep2, &sep3});
}

bool _oxStringCompareShort(QString const & a, QString b)
{
    QString const name = QString(a).remove(u' ');
    b.remove(u' ');
    if (name.compare(b, Qt::CaseInsensitive) == 0)
        return true;
    QString const shortName = oxCalcShortName(name);
    // A short name that ends with a lower-case letter is only a prefix, which many names share.
    bool const isDistinctive = !shortName.isEmpty() && !shortName.back().isLower();
    return isDistinctive && shortName == oxCalcShortName(b);
}
