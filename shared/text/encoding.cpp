#include "shared/text/encoding.h"

#include "shared/platform/file_names.h"
#include "shared/text/fixed_string_algorithms.h"
#include "shared/text/utf16_view.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

namespace
{

using Text = std::u16string;
using View = std::u16string_view;
constexpr std::size_t none = View::npos;
using ox::text::toLower;
using ox::text::toQString;
using ox::text::viewOf;

bool isWide(char16_t c)
{
    return c > 0xFF;
}

bool containsWide(View text)
{
    return std::any_of(text.begin(), text.end(), isWide);
}

bool equalsIgnoringCase(View text, View lower)
{
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                      [](char16_t a, char16_t b) { return toLower(a) == b; });
}

bool startsWithIgnoringCase(View text, View lower)
{
    return equalsIgnoringCase(text.substr(0, lower.size()), lower);
}

bool isSeparator(char16_t c, View separators)
{
    return separators.find(c) != none;
}

/// The UTF-8 form: a run contains the UTF-8 bytes of a word. `marker` begins a run; a character of
/// `separators` ends a word.
struct Utf8Form {
    static constexpr View marker = u"<utf8";
    static constexpr View separators = u" \n\r\t";

    static void encode(View word, Text & out);

    class Reader;
};

/// The 16-bit form: a run contains the high and the low byte of each UTF-16 unit of a word.
struct Uni16Form {
    static constexpr View marker = u"<uni16";
    static constexpr View separators = u" ";

    static void encode(View word, Text & out);

    class Reader;
};

void Utf8Form::encode(View word, Text & out)
{
    for (char const byte : ox::platform::toUtf8(word))
        out.push_back(static_cast<unsigned char>(byte));
}

void Uni16Form::encode(View word, Text & out)
{
    for (char16_t const unit : word) {
        out.push_back(unit >> 8);
        out.push_back(unit & 0xFF);
    }
}

/// Reads, unit by unit, a text that contains UTF-8 runs. A decoded run is read again: it may
/// contain or complete a marker. If a new run begins inside a decoded run, the rest of the decoded
/// run becomes the start of the new run and is decoded a second time.
class Utf8Form::Reader
{
  public:
    explicit Reader(View text) : text_(text) { decoded_.reserve(text.size()); }

    bool isAtEnd() const { return read_ == decoded_.size() && text_.empty(); }
    char16_t front() const { return read_ < decoded_.size() ? decoded_[read_] : text_.front(); }
    void skip()
    {
        if (read_ < decoded_.size())
            ++read_;
        else
            text_.remove_prefix(1);
    }

    /// Decodes the run whose marker ends at the current position.
    void decodeRun()
    {
        if (!isAtEnd() && front() == u' ')
            skip();
        // Only text_ is searched: the units in decoded_ contain no ">", since every decoded run
        // ended at its first ">".
        std::size_t const close = text_.find(u'>');
        if (close != none) {
            decoded_ += text_.substr(0, close);
            text_.remove_prefix(close + 1);
            decode();
        } else if (!text_.empty()) {
            decoded_ += text_.substr(0, text_.size() - 1);
            text_.remove_prefix(text_.size() - 1);
            decode();
        } else if (read_ < decoded_.size()) {
            char16_t const last = decoded_.back();
            decoded_.pop_back();
            decode();
            decoded_.push_back(last);
        }
    }

  private:
    void decode()
    {
        // Only separators are trimmed. A trim of all Unicode spaces would remove the bytes
        // 0xA0 and 0x85, the last bytes of common letters in UTF-8.
        while (read_ < decoded_.size() && isSeparator(decoded_[read_], separators))
            ++read_;
        while (read_ < decoded_.size() && isSeparator(decoded_.back(), separators))
            decoded_.pop_back();
        skipAscii();
        std::string bytes;
        bytes.reserve(decoded_.size() - ascii_);
        for (char16_t const c : View(decoded_).substr(ascii_))
            bytes.push_back(isWide(c) ? '?' : static_cast<char>(c));
        decoded_.resize(ascii_);
        decoded_ += ox::platform::fromUtf8(bytes);
        skipAscii();
    }

    /// Moves `ascii_` to the end of the ASCII units that begin at `read_`. decode() skips these
    /// units, since decoding does not change them. Nested runs are decoded several times. Each time
    /// more units become ASCII and are skipped, so few units are decoded more than once.
    void skipAscii()
    {
        ascii_ = std::clamp(ascii_, read_, decoded_.size());
        while (ascii_ < decoded_.size() && decoded_[ascii_] < 0x80)
            ++ascii_;
    }

    Text decoded_;
    std::size_t read_ = 0;  ///< position in decoded_ of the next unit to read
    std::size_t ascii_ = 0; ///< end of the ASCII units from read_ on
    View text_;             ///< text that follows the decoded units
};

/// Reads, unit by unit, a text that contains 16-bit runs. Decoding replaces the end of the encoded
/// run in `text_` by the decoded run, which is at most half as long. The decoded run is then read
/// again, since it may contain a marker or the last characters of one.
class Uni16Form::Reader
{
  public:
    explicit Reader(View text) : text_(text) {}

    bool isAtEnd() const { return at_ == text_.size(); }
    char16_t front() const { return text_[at_]; }
    void skip() { ++at_; }

    /// Decodes the run whose marker ends at the current position.
    void decodeRun()
    {
        if (isPadded())
            ++at_;
        std::size_t close = closeOfPairs(at_);
        if (close == none)
            close = text_.find(u'>', at_);
        // A run without a ">" ends before the last character of the text.
        std::size_t const last = close != none ? close : std::max(at_, text_.size() - 1);
        Text word;
        word.reserve((last - at_) / 2);
        for (std::size_t i = at_; i + 1 < last; i += 2)
            word.push_back(static_cast<char16_t>(text_[i] << 8 | (text_[i + 1] & 0xFF)));
        decodedEnd_ = close != none ? close + 1 : last;
        at_ = decodedEnd_ - word.size();
        std::copy(word.begin(), word.end(), text_.begin() + static_cast<std::ptrdiff_t>(at_));
    }

  private:
    /// Returns whether the blank after the marker is padding, which some programs write. The blank
    /// can also be the high byte of a letter from U+2000 to U+20FF.
    bool isPadded()
    {
        if (isAtEnd() || front() != u' ')
            return false;
        std::size_t const close = closeOfPairs(at_);
        return close == none || (!closesWord(close) && closesWord(closeOfPairs(at_ + 1)));
    }

    /// Returns the position of the ">" that closes a run whose pairs of bytes begin at `first`, or
    /// `none` if no ">" closes the run. A ">" that is the second character of a pair is a low byte
    /// and does not close the run. The search stops at the next marker and at a character above
    /// 255.
    std::size_t closeOfPairs(std::size_t first)
    {
        auto const stopsAt = [this, first](std::size_t i) {
            if (i == text_.size() || isWide(text_[i]))
                return true;
            return text_[i] == u'>' ? (i - first) % 2 == 0
                                    : startsWithIgnoringCase(View(text_).substr(i), marker);
        };
        // The text after decodedEnd_ never changes. A scan that reaches decodedEnd_ jumps to
        // `stop`, the end of the last scan with the same parity of `first`.
        std::size_t & stop = stops_[first % 2];
        std::size_t i = first;
        while (!stopsAt(i))
            i = std::max(i + 1, i >= decodedEnd_ ? stop : 0);
        stop = i;
        return i < text_.size() && text_[i] == u'>' ? i : none;
    }

    /// Returns whether the ">" at `close` can end a word. One of these must follow:
    /// - the end of the text;
    /// - a separator;
    /// - a character above 255, with which the original word after the run begins;
    /// - a printable ASCII character other than ">", as in markup and paths.
    bool closesWord(std::size_t close) const
    {
        if (close == none || close + 1 == text_.size())
            return close != none;
        char16_t const c = text_[close + 1];
        bool const isPrintable = c > u' ' && c < 0x7F;
        return isWide(c) || isSeparator(c, Utf8Form::separators) || (isPrintable && c != u'>');
    }

    Text text_;
    std::size_t at_ = 0;            ///< position of the next unit to read
    std::size_t decodedEnd_ = 0;    ///< end of the last decoded run
    std::size_t stops_[2] = {0, 0}; ///< ends of the last scans from even and odd positions
};

template <class Form>
std::size_t findMarker(View text)
{
    auto const found =
        std::search(text.begin(), text.end(), Form::marker.begin(), Form::marker.end(),
                    [](char16_t a, char16_t b) { return toLower(a) == b; });
    return found == text.end() ? none : static_cast<std::size_t>(found - text.begin());
}

template <class Form>
QString encodeRuns(QString const & source, bool keepOriginal)
{
    View const text = viewOf(source);
    if (!containsWide(text) || findMarker<Form>(text) != none)
        return source;
    Text out;
    out.reserve(text.size() * 3);
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const end = std::min(text.find_first_of(Form::separators, at), text.size());
        View const word = text.substr(at, end - at);
        bool const wide = containsWide(word);
        if (wide) {
            std::transform(Form::marker.begin(), Form::marker.end(), std::back_inserter(out),
                           ox::text::toUpper<char16_t>);
            Form::encode(word, out);
            out += u'>';
        }
        if (!wide || keepOriginal)
            out += word;
        if (end < text.size())
            out += text[end];
        at = end + 1;
    }
    return toQString(out);
}

template <class Form>
QString decodeRuns(QString const & source)
{
    View const text = viewOf(source);
    std::size_t const first = findMarker<Form>(text);
    if (first == none)
        return source;
    Text out(text.substr(0, first));
    out.reserve(text.size());
    for (typename Form::Reader reader(text.substr(first)); !reader.isAtEnd();) {
        char16_t const c = reader.front();
        reader.skip();
        out.push_back(c);
        if (c != Form::marker.back() || out.size() < Form::marker.size() ||
            !equalsIgnoringCase(View(out).substr(out.size() - Form::marker.size()), Form::marker))
            continue;
        out.resize(out.size() - Form::marker.size());
        reader.decodeRun();
    }
    return toQString(out);
}

struct XmlEntity {
    char16_t character;
    QLatin1String text;
};

/// The entities in the order of decoding. "&amp;" follows the other named entities, so that
/// "&amp;lt;", the escaped form of the text "&lt;", is not decoded to "<".
constexpr XmlEntity xmlEntities[] = {
    {u'<', QLatin1String("&lt;", 4)},        {u'>', QLatin1String("&gt;", 4)},
    {u'"', QLatin1String("&quot;", 6)},      {u'\'', QLatin1String("&apos;", 6)},
    {u'&', QLatin1String("&amp;", 5)},       {u'\u00C4', QLatin1String("&#196;", 6)},
    {u'\u00D6', QLatin1String("&#214;", 6)}, {u'\u00DC', QLatin1String("&#220;", 6)},
    {u'\u00E4', QLatin1String("&#228;", 6)}, {u'\u00F6', QLatin1String("&#246;", 6)},
    {u'\u00FC', QLatin1String("&#252;", 6)}, {u'\u00DF', QLatin1String("&#223;", 6)},
};

QString replaceNonLatin1(QString const & text)
{
    // Without the size, Qt 5 ends the text at the first 0 character.
    QByteArray const bytes = text.toLatin1();
    return QString::fromLatin1(bytes.constData(), bytes.size());
}

/// Returns the value of an IPv4 address field, or nothing if `digits` is not a number from 0 to
/// 255.
std::optional<unsigned> addressField(View digits)
{
    if (digits.empty() || digits.size() > 3)
        return std::nullopt;
    unsigned value = 0;
    for (char16_t const digit : digits) {
        if (digit < u'0' || digit > u'9')
            return std::nullopt;
        value = value * 10 + (digit - u'0');
    }
    return value <= 255 ? std::optional(value) : std::nullopt;
}

} // namespace

QString oxToOXUTF8(QString text, bool keepOriginal)
{
    return encodeRuns<Utf8Form>(text, keepOriginal);
}

QString oxFromOXUTF8(QString text)
{
    return decodeRuns<Utf8Form>(text);
}

QString oxToOXUni16(QString text, bool keepOriginal)
{
    return encodeRuns<Uni16Form>(text, keepOriginal);
}

QString oxFromOXUni16(QString text)
{
    return decodeRuns<Uni16Form>(text);
}

QString toXmlString(QString text)
{
    QString out;
    out.reserve(text.size() + text.size() / 8);
    for (QChar const c : text) {
        auto const entity = std::find_if(std::begin(xmlEntities), std::end(xmlEntities),
                                         [c](XmlEntity const & e) { return c == e.character; });
        if (entity == std::end(xmlEntities))
            out += c;
        else
            out += entity->text;
    }
    return replaceNonLatin1(out);
}

QString fromXmlString(QString text)
{
    for (XmlEntity const & entity : xmlEntities)
        text.replace(entity.text, QString(QChar(entity.character)));
    return replaceNonLatin1(text);
}

QString oxCalcShortName(QString const & name)
{
    static constexpr View kept = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ123456789_-";
    View rest = viewOf(name);
    Text out;
    for (View const prefix : {View(u"co"), View(u"pp"), View(u"os")}) {
        bool const exempt = prefix == u"co" && (equalsIgnoringCase(rest, u"color_id") ||
                                                equalsIgnoringCase(rest, u"companyprojectname"));
        if (exempt || !startsWithIgnoringCase(rest, prefix))
            continue;
        out = prefix;
        rest.remove_prefix(prefix.size());
        break;
    }
    std::copy_if(rest.begin(), rest.end(), std::back_inserter(out),
                 [](char16_t c) { return kept.find(c) != none; });
    return toQString(out);
}

bool oxIsDigit(unsigned short const & c)
{
    return (c >= u'0' && c <= u'9') || c == u'-';
}

unsigned int IPString2IP(QString ip, bool const & lastByteFull)
{
    View rest = viewOf(ip);
    auto field = addressField(rest.substr(0, rest.find(u'.')));
    if (!field)
        return 0;
    unsigned address = *field << 24;
    for (int shift : {16, 8}) {
        // Compatibility: the fields have three digits, as the farm writes them. Only the last field
        // may be shorter.
        rest.remove_prefix(std::min<std::size_t>(4, rest.size()));
        field = addressField(rest.substr(0, 3));
        if (!field)
            return 0;
        address |= *field << shift;
    }
    if (rest.size() <= 4)
        return address | (lastByteFull ? 255 : 0);
    field = addressField(rest.substr(4, 3));
    return field ? address | *field : 0;
}
