#include "shared/text/encoding.h"

#include "shared/platform/file_names.h"
#include "shared/text/format.h"
#include "shared/text/utf16_view.h"
#include "tests/fuzz/fuzz_input.h"

// Fuzzes transport encodings, XML escapes, short names and IP addresses. Checks that every
// text that the encoder can represent round-trips, alone or inside another text. Compares the
// decoder of UTF-8 runs with a simple decoder.

namespace
{

using namespace ox::fuzz;

struct Coder {
    QString (*encode)(QString, bool);
    QString (*decode)(QString);
    QString marker;
    QString separators;
    bool (*closes)(QChar); ///< returns whether a character inside a word ends the encoded run
};

Coder const coders[] = {
    {oxToOXUTF8, oxFromOXUTF8, QStringLiteral("<UTF8"), QStringLiteral(" \n\r\t"),
     [](QChar c) { return c == u'>'; }},
    {oxToOXUni16, oxFromOXUni16, QStringLiteral("<UNI16"), QStringLiteral(" "),
     [](QChar c) { return c.row() == '>'; }},
};

bool isWide(QChar c)
{
    return c.row() != 0;
}

bool isLatin1(QString const & text)
{
    return std::none_of(text.begin(), text.end(), isWide);
}

bool holdsMarker(Coder const & coder, QString const & text)
{
    return text.contains(coder.marker, Qt::CaseInsensitive);
}

QString bytesOf(QString const & word)
{
    QString bytes;
    for (QChar const c : word)
        bytes += QString(QChar(ushort{c.row()})) + QChar(ushort{c.cell()});
    return bytes;
}

/// Returns the text with each `word` replaced by visit(word). Any character in `separators` ends a
/// word.
template <typename Visit>
QString mapWords(QString const & text, QString const & separators, Visit const & visit)
{
    QString result;
    QString word;
    for (QChar const c : text) {
        if (!separators.contains(c)) {
            word += c;
            continue;
        }
        result += visit(word) + c;
        word.clear();
    }
    return result + visit(word);
}

/// Returns whether the decoder can restore every word that the encoder changes. The exceptions are
/// words with a character that ends an encoded run, and words whose bytes contain a marker.
bool isReversible(Coder const & coder, QString const & text)
{
    bool isReversible = true;
    mapWords(text, coder.separators, [&](QString const & word) {
        if (!isLatin1(word) && (std::any_of(word.begin(), word.end(), coder.closes) ||
                                holdsMarker(coder, bytesOf(word))))
            isReversible = false;
        return word;
    });
    return isReversible;
}

void checkRoundTrip(Coder const & coder, QString const & before, QString const & text,
                    QString const & behind)
{
    QString const encoded = coder.encode(text, false);
    if (holdsMarker(coder, text) || isLatin1(text))
        return OX_HOLDS(encoded == text);
    OX_HOLDS(isLatin1(encoded));
    if (!isReversible(coder, text))
        return;
    OX_HOLDS(coder.decode(encoded) == text);
    if (!holdsMarker(coder, before + text + behind))
        OX_HOLDS(coder.decode(before + encoded + behind) == before + text + behind);
    if (text.contains(u'<'))
        return;
    QString const doubled = mapWords(text, coder.separators, [](QString const & word) {
        return isLatin1(word) ? word : word + word;
    });
    OX_HOLDS(coder.decode(coder.encode(text, true)) == doubled);
}

/// Decodes the runs of a text one by one. The result must equal the result of oxFromOXUTF8().
QString decodedRuns(QString text)
{
    Coder const & coder = coders[0];
    auto const isSeparator = [](QChar c) { return coders[0].separators.contains(c); };
    for (;;) {
        auto const at = text.indexOf(coder.marker, 0, Qt::CaseInsensitive);
        if (at < 0)
            return text;
        text.remove(at, coder.marker.size());
        if (text.mid(at, 1) == QLatin1String(" "))
            text.remove(at, 1);
        auto end = text.indexOf(u'>', at);
        if (end >= 0)
            text.remove(end, 1);
        else
            end = std::max(at, text.size() - 1);
        QString run = text.mid(at, end - at);
        while (!run.isEmpty() && isSeparator(run.back()))
            run.chop(1);
        while (!run.isEmpty() && isSeparator(run.front()))
            run.remove(0, 1);
        QByteArray const bytes = run.toLatin1();
        auto const length = std::size_t(bytes.size());
        text.replace(at, end - at, utf16Of({bytes.constData(), length}));
    }
}

void checkDecoders(QString const & text)
{
    for (Coder const & coder : coders) {
        QString const decoded = coder.decode(text);
        OX_HOLDS(!holdsMarker(coder, decoded) && decoded.size() <= text.size());
        OX_HOLDS(holdsMarker(coder, text) || decoded == text);
    }
    if (text.size() < 1000) // the simple decoder needs quadratic time
        OX_HOLDS(oxFromOXUTF8(text) == decodedRuns(text));
}

void checkXml(QString const & text)
{
    QString const escaped = toXmlString(text);
    OX_HOLDS(isLatin1(escaped));
    for (char16_t const c : {u'<', u'>', u'"', u'\'', u'\u00E4'})
        OX_HOLDS(!escaped.contains(QChar(c)));
    QString expected = text;
    for (QChar & c : expected) {
        if (isWide(c))
            c = u'?';
    }
    // fromXmlString() decodes "&amp;" first. So a text with "&#" does not round-trip: "&amp;#65;"
    // becomes "A".
    if (!text.contains(QLatin1String("&#")))
        OX_HOLDS(fromXmlString(escaped) == expected);
    OX_HOLDS(isLatin1(fromXmlString(text)) && fromXmlString(text).size() <= text.size());
}

void checkNames(QString const & text, QString const & other)
{
    QString const name = oxCalcShortName(text);
    OX_HOLDS(name.size() <= text.size());
    OX_HOLDS(_oxStringCompareShort(text, text));
    OX_HOLDS(_oxStringCompareShort(text, other) == _oxStringCompareShort(other, text));
    unsigned const address = IPString2IP(text, true);
    OX_HOLDS(IPString2IP(text, false) == address || (address & 0xFF) == 0xFF);
}

void checkUtf8(std::string_view bytes)
{
    using namespace ox::platform;
    std::u16string const text = fromUtf8(bytes);
    OX_HOLDS(text.size() <= bytes.size() && fromUtf8(toUtf8(text)) == text);
    OX_HOLDS(toFileName(fromFileName(bytes)) == bytes);
    std::u16string const record = recordText(bytes);
    OX_HOLDS(nativeName(record) == nativeName(bytes));
    if (auto const name = recordName(record))
        OX_HOLDS(nativeName(std::string_view(*name)) == nativeName(record));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size)
{
    Input in(data, size);
    QString const before = utf16Of(in.line());
    QString const behind = utf16Of(in.line());
    std::string_view const bytes = in.rest();
    QString const text = utf16Of(bytes);
    QString const endings[] = {QStringLiteral("</b>"), QStringLiteral("\"/>"),
                               QStringLiteral("\\a.exr"), QStringLiteral(" ") + behind};
    QString const & ending = endings[bytes.size() % std::size(endings)];
    for (Coder const & coder : coders)
        checkRoundTrip(coder, before, text, ending);
    for (QString const & markup : {text, latin1(bytes)}) {
        checkDecoders(markup);
        checkXml(markup);
    }
    checkNames(text, before);
    checkUtf8(bytes);
    return 0;
}
