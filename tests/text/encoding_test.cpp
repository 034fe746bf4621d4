#include "shared/text/encoding.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

using namespace ox::tests;

namespace
{

/// Returns the UTF-8 bytes of a text as a text with one Latin-1 character per byte. An encoded run
/// contains a text in this form.
QString bytesOf(QString const & text)
{
    return QString::fromLatin1(text.toUtf8());
}

struct Coder {
    char const * name;
    QString (*encode)(QString, bool);
    QString (*decode)(QString);
    QString marker;
};

class TransportEncoding : public testing::TestWithParam<Coder>
{
};

INSTANTIATE_TEST_SUITE_P(Forms, TransportEncoding,
                         testing::Values(Coder{"Utf8", oxToOXUTF8, oxFromOXUTF8, u"<UTF8"_q},
                                         Coder{"Uni16", oxToOXUni16, oxFromOXUni16, u"<UNI16"_q}),
                         [](auto const & coder) { return std::string(coder.param.name); });

TEST_P(TransportEncoding, AppendsTheUnencodedWordOnRequest)
{
    QString const word = u"x\u20ACy\u041F"_q;
    QString const encoded = GetParam().encode(u"a "_q + word + u" b"_q, true);
    EXPECT_TRUE(encoded.startsWith(u"a "_q + GetParam().marker));
    EXPECT_TRUE(encoded.endsWith(u">"_q + word + u" b"_q));
    EXPECT_EQ(GetParam().decode(encoded), u"a "_q + word + word + u" b"_q);
}

TEST_P(TransportEncoding, NeverEncodesTwice)
{
    QString const once = u"x "_q + GetParam().marker.toLower() + u" \u041F"_q;
    EXPECT_EQ(GetParam().encode(once, false), once);
    EXPECT_EQ(GetParam().encode(u"nothing wide"_q, true), u"nothing wide"_q);
}

TEST_P(TransportEncoding, DecodesManyMarkersInLinearTime)
{
    QString const & marker = GetParam().marker;
    // With these texts, a decoder of quadratic time would exceed the time limit of the test.
    int const many = 200000;
    QString const nested = marker.repeated(many);
    for (QString const & text :
         {nested, nested + u">"_q.repeated(many), nested + u"\u00C3\u00A9ab>"_q.repeated(many),
          marker.chopped(1).repeated(many) + marker + u"\0006Z>"_q.repeated(many)})
        EXPECT_LT(GetParam().decode(text).size(), text.size());
}

TEST(Utf8Runs, HaveTheDocumentedFormat)
{
    EXPECT_EQ(oxToOXUTF8(u"see \u041F\u043E\n\u20ACx"_q, false),
              u"see <UTF8"_q + bytesOf(u"\u041F\u043E"_q) + u">\n<UTF8"_q + bytesOf(u"\u20ACx"_q) +
                  u">"_q);
    EXPECT_EQ(oxFromOXUTF8(u"a<utf8 "_q + bytesOf(u"\u041F"_q) + u" >b"_q), u"a\u041Fb"_q);
    EXPECT_EQ(oxFromOXUTF8(u"<UTF8abc>d>"_q), u"abcd>"_q);
    EXPECT_EQ(oxFromOXUTF8(u"<tag><UTF8"_q + bytesOf(u"\u041F"_q) + u"></tag>"_q),
              u"<tag>\u041F</tag>"_q);
    // If a run contains another run, the first ">" ends the outer run. So the inner run is decoded
    // twice.
    EXPECT_EQ(oxFromOXUTF8(u"<UTF8a<UTF8\u00C3\u0083\u00C2\u00A9<UTF8b >c>d>"_q), u"a\u00E9bcd"_q);
    EXPECT_EQ(oxFromOXUTF8(u"<UTF8"_q + bytesOf(u"\u041F\u0420"_q)), u"\u041F\uFFFD\u00A0"_q);
    EXPECT_EQ(oxFromOXUTF8(u"<UTF8\u00C0\u00AF\u00F5\u041F>"_q), u"\uFFFD\uFFFD\uFFFD?"_q);
}

TEST(Uni16Runs, HaveTheDocumentedFormat)
{
    EXPECT_EQ(oxToOXUni16(u"a\n\u0410 \u20AC"_q, false),
              u"<UNI16\0a\0\n\u0004\u0010> <UNI16\u0020\u00AC>"_q);
    EXPECT_EQ(oxFromOXUni16(u"<uni16 \u0004\u0010>"_q), u"\u0410"_q);
    EXPECT_EQ(oxFromOXUni16(u"<UNI16 \u0004>\u0004\u0010\u0004>>"_q), u"\u043E\u0410\u043E"_q);
    EXPECT_EQ(oxFromOXUni16(u"<UNI16 \u0004>>"_q), u"\u043E"_q)
        << "the run is padded, and its last low byte is >";
    EXPECT_EQ(oxFromOXUni16(u"<UNI16\u0004\u0010\u0004>"_q), u"\u0410"_q);
    EXPECT_EQ(oxFromOXUni16(u"<UNI16\u0004\u0010></b> x"_q), u"\u0410</b> x"_q);
    EXPECT_EQ(oxFromOXUni16(u"<UNI16\u0004>>/<UNI16\u0004\u0010>x"_q), u"\u043E/\u0410x"_q);
    EXPECT_EQ(oxFromOXUni16(u"<UNI16\u0004\u0010\u0004\u0011x"_q), u"\u0410\u0411x"_q);
}

TEST(XmlText, EscapesAndUnescapes)
{
    QString const text = u"a<b & \"c\" 'd'> \u00C4\u00D6\u00DC\u00E4\u00F6\u00FC\u00DF \u00E9"_q;
    EXPECT_EQ(toXmlString(text), u"a&lt;b &amp; &quot;c&quot; &apos;d&apos;&gt; &#196;&#214;&#220;"
                                 u"&#228;&#246;&#252;&#223; \u00E9"_q);
    EXPECT_EQ(fromXmlString(u"&amp;lt; &amp;amp; &#65; &LT;"_q), u"&lt; &amp; &#65; &LT;"_q);
    EXPECT_EQ(toXmlString(u"\u03A9"_q), u"?"_q);
    EXPECT_EQ(fromXmlString(u"\u03A9\0x"_q), u"?\0x"_q);
}

TEST(ShortName, KeepsPrefixCapitalsAndDigits)
{
    std::pair<QString, QString> const cases[] = {
        {u"coImageWidth"_q, u"coIW"_q},
        {u"ImageFormat"_q, u"IF"_q},
        {u"Color_ID"_q, u"C_ID"_q},
        {u"COLOR_id"_q, u"COLOR_"_q},
        {u"os10"_q, u"os1"_q},
        {u"PPaB-2"_q, u"ppB-2"_q},
        {u"CompanyProjectName"_q, u"CPN"_q},
        {u"c"_q, u""_q},
        {u"CoX\u00C4"_q, u"coX"_q},
    };
    for (auto const & [name, shortName] : cases)
        EXPECT_EQ(oxCalcShortName(name), shortName) << name.toStdString();
}

TEST(Digit, IncludesTheMinusSign)
{
    for (char16_t const c : {u'0', u'9', u'-'})
        EXPECT_TRUE(oxIsDigit(c));
    for (char16_t const c : {u'/', u':', u'+', u'\u0660'})
        EXPECT_FALSE(oxIsDigit(c));
}

TEST(IpAddress, IsParsedFromGroupsOfThreeDigits)
{
    std::pair<QString, unsigned> const cases[] = {
        {u"192.168.001.010"_q, 0xC0A8010A},
        {u"192.168.1.10"_q, 0},
        {u"192.168.001"_q, 0xC0A80100},
        {u"192.168.001."_q, 0xC0A80100},
        {u"192.168.001.7"_q, 0xC0A80107},
        {u"256.168.001.010"_q, 0},
        {u""_q, 0},
        {u"192.+68.001.010"_q, 0},
        {u"1920.168.001"_q, 0},
    };
    for (auto const & [text, address] : cases)
        EXPECT_EQ(IPString2IP(text, false), address) << text.toStdString();
    EXPECT_EQ(IPString2IP(u"192.168.001"_q, true), 0xC0A801FF);
    EXPECT_EQ(IPString2IP(u"192.168.001.010"_q, true), 0xC0A8010A);
}

} // namespace
