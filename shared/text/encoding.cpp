#include "shared/text/encoding.h"

#include "shared/platform/utf8.h"
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
using ox::detail::toQString;
using ox::detail::viewOf;

bool isWide(char16_t c)
{
    return c > 0xFF;
}

bool holdsWide(View text)
{
    return std::any_of(text.begin(), text.end(), isWide);
}

char16_t asciiLower(char16_t c)
{
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
}

char16_t asciiUpper(char16_t c)
{
    return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c;
}

bool equalsIgnoringCase(View text, View lower)
{
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                      [](char16_t a, char16_t b) { return asciiLower(a) == b; });
}

bool startsWithIgnoringCase(View text, View lower)
{
    return equalsIgnoringCase(text.substr(0, lower.size()), lower);
}

/// The characters of one run in the text behind its marker: `first` to `last`, and where the text
/// goes on.
struct Run {
    std::size_t first;
    std::size_t last;
    std::size_t next;
};

/// The bytes of a word as UTF-8.
struct Utf8Form {
    static constexpr View marker = u"<utf8";
    static constexpr View separators = u" \n\r\t";

    static void encode(View word, Text & out);
    static Text decode(View run);
    static Run findRun(View text, std::size_t at);
};

/// The units of a word, each as its high and its low byte.
struct Uni16Form {
    static constexpr View marker = u"<uni16";
    static constexpr View separators = u" ";

    static void encode(View word, Text & out);
    static Text decode(View run);
    static Run findRun(View text, std::size_t at);
};

bool isSeparator(char16_t c, View separators)
{
    return separators.find(c) != none;
}

/// The run from `at` to its closing ">". One that is never closed leaves the last character of the
/// text outside, as the farm's other decoders do.
Run runUpTo(View text, std::size_t at, std::size_t close)
{
    if (close != none)
        return {at, close, close + 1};
    std::size_t const last = std::max(at, text.size() - 1);
    return {at, last, last};
}

void Utf8Form::encode(View word, Text & out)
{
    for (char const byte : ox::platform::toUtf8(word))
        out.push_back(static_cast<unsigned char>(byte));
}

Text Utf8Form::decode(View run)
{
    std::string bytes;
    bytes.reserve(run.size());
    for (char16_t const c : run)
        bytes.push_back(isWide(c) ? '?' : static_cast<char>(c));
    return ox::platform::fromUtf8(bytes);
}

Run Utf8Form::findRun(View text, std::size_t at)
{
    if (at < text.size() && text[at] == u' ')
        ++at;
    Run run = runUpTo(text, at, text.find(u'>', at));
    // Only what no word can hold is cut: a wider trim would cut the bytes A0 and 85, which end
    // common letters.
    while (run.first < run.last && isSeparator(text[run.first], separators))
        ++run.first;
    while (run.first < run.last && isSeparator(text[run.last - 1], separators))
        --run.last;
    return run;
}

void Uni16Form::encode(View word, Text & out)
{
    for (char16_t const unit : word) {
        out.push_back(unit >> 8);
        out.push_back(unit & 0xFF);
    }
}

Text Uni16Form::decode(View run)
{
    Text out;
    out.reserve(run.size() / 2);
    for (std::size_t i = 0; i + 1 < run.size(); i += 2)
        out.push_back(static_cast<char16_t>(run[i] << 8 | (run[i + 1] & 0xFF)));
    return out;
}

template <class Form>
std::size_t findMarker(View text)
{
    auto const found =
        std::search(text.begin(), text.end(), Form::marker.begin(), Form::marker.end(),
                    [](char16_t a, char16_t b) { return asciiLower(a) == b; });
    return found == text.end() ? none : static_cast<std::size_t>(found - text.begin());
}

/// Where no byte of a run can lie any more: at the next marker or at a character above 255.
template <class Form>
std::size_t runLimit(View text, std::size_t at)
{
    std::size_t const next = findMarker<Form>(text.substr(at));
    auto const first = text.begin() + static_cast<std::ptrdiff_t>(at);
    auto const last = next == none ? text.end() : first + static_cast<std::ptrdiff_t>(next);
    return static_cast<std::size_t>(std::find_if(first, last, isWide) - text.begin());
}

Run Uni16Form::findRun(View text, std::size_t at)
{
    View const bytes = text.substr(0, runLimit<Uni16Form>(text, at));
    // A ">" in second place of a pair is the low byte of a letter.
    auto const closeOfPairsFrom = [bytes](std::size_t first) {
        std::size_t close = bytes.find(u'>', first);
        while (close != none && (close - first) % 2 != 0)
            close = bytes.find(u'>', close + 1);
        return close;
    };
    auto const endsRun = [bytes](std::size_t close) {
        return close != none &&
               (close + 1 == bytes.size() || bytes[close + 1] == u' ' || bytes[close + 1] == u'<');
    };
    std::size_t close = closeOfPairsFrom(at);
    if (at < text.size() && text[at] == u' ' && !endsRun(close)) {
        // The blank is half of a letter, or the one that some writers put behind the marker.
        std::size_t const padded = closeOfPairsFrom(at + 1);
        if (close == none || endsRun(padded))
            return runUpTo(text, at + 1, padded);
    }
    return runUpTo(text, at, close != none ? close : text.find(u'>', at));
}

template <class Form>
QString encodeRuns(QString const & source, bool keepOriginal)
{
    View const text = viewOf(source);
    if (!holdsWide(text) || findMarker<Form>(text) != none)
        return source;
    Text out;
    out.reserve(text.size() * 3);
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const end = std::min(text.find_first_of(Form::separators, at), text.size());
        View const word = text.substr(at, end - at);
        bool const wide = holdsWide(word);
        if (wide) {
            std::transform(Form::marker.begin(), Form::marker.end(), std::back_inserter(out),
                           asciiUpper);
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
    std::size_t const first = findMarker<Form>(viewOf(source));
    if (first == none)
        return source;
    Text text(viewOf(source));
    Text out = text.substr(0, first);
    out.reserve(text.size());
    for (std::size_t at = first; at < text.size();) {
        out.push_back(text[at++]);
        if (out.size() < Form::marker.size() ||
            !equalsIgnoringCase(View(out).substr(out.size() - Form::marker.size()), Form::marker))
            continue;
        out.resize(out.size() - Form::marker.size());
        Run const run = Form::findRun(text, at);
        Text const word = Form::decode(View(text).substr(run.first, run.last - run.first));
        // The word is read again, since it may hold or complete a marker. It is never longer than
        // its run, and each marker makes the text shorter, so this ends.
        at = run.next - word.size();
        std::copy(word.begin(), word.end(), text.begin() + static_cast<std::ptrdiff_t>(at));
    }
    return toQString(out);
}

struct XmlEntity {
    char16_t character;
    QLatin1String text;
};

/// In the order of decoding: "&amp;" comes behind the named entities, so that an escaped entity is
/// decoded once.
constexpr XmlEntity xmlEntities[] = {
    {u'<', QLatin1String("&lt;", 4)},        {u'>', QLatin1String("&gt;", 4)},
    {u'"', QLatin1String("&quot;", 6)},      {u'\'', QLatin1String("&apos;", 6)},
    {u'&', QLatin1String("&amp;", 5)},       {u'\u00C4', QLatin1String("&#196;", 6)},
    {u'\u00D6', QLatin1String("&#214;", 6)}, {u'\u00DC', QLatin1String("&#220;", 6)},
    {u'\u00E4', QLatin1String("&#228;", 6)}, {u'\u00F6', QLatin1String("&#246;", 6)},
    {u'\u00FC', QLatin1String("&#252;", 6)}, {u'\u00DF', QLatin1String("&#223;", 6)},
};

QString throughLatin1(QString const & text)
{
    // With its size: without one, Qt 5 ends the text at the first character 0.
    QByteArray const bytes = text.toLatin1();
    return QString::fromLatin1(bytes.constData(), bytes.size());
}

/// The number of an address field, or empty when it is none of 0 to 255.
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
    return throughLatin1(out);
}

QString fromXmlString(QString text)
{
    for (XmlEntity const & entity : xmlEntities)
        text.replace(entity.text, QString(QChar(entity.character)));
    return throughLatin1(text);
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
        // The farm writes every field three digits wide; a shorter one in the middle fails.
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
