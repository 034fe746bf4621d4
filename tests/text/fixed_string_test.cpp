#include "shared/text/fixed_string.h"

#include <gtest/gtest.h>

#include <QString>

#include <sstream>
#include <string>

namespace
{

using Wide = _oxString<10>;
using Units = std::u16string_view;

TEST(FixedString, WidensBytesInTwoWays)
{
    char const text[] = "caf\xE9";
    Units const extended = u"caf\xFFE9";
    Units const latin1 = u"caf\u00E9";
    Wide s;
    EXPECT_EQ(Wide(text).view(), extended);
    EXPECT_EQ(Wide(text, 4).view(), extended);
    EXPECT_EQ(Wide(text[3]).view(), extended.substr(3));
    EXPECT_EQ((Wide() += text).view(), extended);
    EXPECT_EQ((s = text).view(), latin1);
    EXPECT_EQ(Wide().add(text).view(), latin1);
    EXPECT_TRUE(s == text);
    EXPECT_FALSE(Wide(text) == text);
    EXPECT_EQ(Wide().add(std::string_view(text)).view(), latin1);
    EXPECT_EQ(Wide("x").add(_oxString8_evenSize<8>("af\xE9")).view(), u"xaf\u00E9");
    EXPECT_TRUE(s.contains("F\xE9") && s.endsWith("F\xE9") && s.startsWithCaseSen(text));
}

TEST(FixedString, AcceptsUnitsInEveryForm)
{
    unsigned short const units[] = {'a', 0x0141, 'C', 0};
    Wide s(units);
    EXPECT_EQ(s.view(), u"a\u0141C");
    EXPECT_EQ(Wide(units, 2).view(), u"a\u0141");
    EXPECT_TRUE(s.startsWith(units) && s.endsWith(units + 1) && s.contains(units + 1));
    EXPECT_TRUE(s.startsWith(units, 2) && s.endsWith(units + 2, 1) && s.startsWithCaseSen(units));
    EXPECT_TRUE(s.isEqual(units, 3) && s.isEqualSameCase(units, 3) && s == units);
    EXPECT_EQ(s.indexOf(units[1], 0), 1);
    EXPECT_EQ((s += units).add(units, 1u).view(), u"a\u0141Ca\u0141Ca");
    EXPECT_EQ((s = units[1]).view(), u"\u0141");
    EXPECT_EQ(s + units, QStringLiteral("\u0141a\u0141C"));
    EXPECT_EQ((s = QLatin1Char('x') + QString(s)).makeLower().view(), u"x\u0141")
        << "only ASCII letters have a case";
    unsigned short const * const null = nullptr;
    EXPECT_EQ((s.add(null) += null).size(), 2);
    EXPECT_EQ((s = null).size(), 0);
    EXPECT_EQ(Wide(null).size() + Wide(null, 3).size(), 0);
    EXPECT_FALSE(s.startsWith(null) || s.endsWith(null) || s.startsWithCaseSen(null));
    EXPECT_EQ(Wide("x").combined(units).combined(null).view(), u"xa\u0141C");
    EXPECT_FALSE(Wide() == null);
    EXPECT_TRUE(Wide() != null && Wide("a") > null);
}

TEST(FixedString, OrdersByTheBytesInMemory)
{
    Wide const highByte(u"\u0100"), lowByte(u"\u00FF");
    EXPECT_TRUE(highByte < lowByte);
    EXPECT_TRUE(lowByte > highByte);
    EXPECT_TRUE(highByte < QString(lowByte) && QString(lowByte) > highByte);
    EXPECT_EQ(highByte.compare(lowByte), 1) << "compare orders by units";
    EXPECT_TRUE(Wide("ab") < QStringLiteral("abc") && Wide("ab") > QString());
    EXPECT_TRUE(Wide("0123456789") != QStringLiteral("0123456789a"));
}

TEST(FixedString, FollowsQtsCaseRulesForQStrings)
{
    QString const lower = QStringLiteral("\u0142\u00F3d\u017A");
    Wide const s(u"\u0141\u00D3D\u0179.");
    EXPECT_TRUE(s.startsWith(lower) && s.contains(lower) && s.endsWith(lower + QLatin1Char('.')));
    EXPECT_FALSE(s.startsWith(Wide(lower)) || s.isEqual(Wide(lower + QLatin1Char('.'))));
}

TEST(FixedString, RoundTripsEveryUnitThroughAQString)
{
    // Byte order marks, lone surrogates and the first half of a surrogate pair are ordinary units.
    for (Units const units : {Units(u"\uFEFFab"), Units(u"a\xD800z"), Units(u"\xFFFEq")})
        EXPECT_EQ(Wide(QString(Wide(units))).view(), units);
    EXPECT_EQ(Wide(QString(9, u'x') + QStringLiteral("\U0001F600")).view(), u"xxxxxxxxx\xD83D");
    std::ostringstream stream;
    stream << Wide(u"\u20AC");
    EXPECT_EQ(stream.str(), "\xE2\x82\xAC");
    EXPECT_EQ(Wide().fromUTF8("\xE2\x82\xAC").view(), u"\u20AC");
    EXPECT_EQ(Wide("a").fromUTF8(nullptr).size(), 0);
}

TEST(FixedString, AddNrIsLimitedToThirteenCharacters)
{
    EXPECT_EQ(_oxString<25>("a").addNr(1234567890123), "a1234567890123");
    EXPECT_EQ(_oxString<25>("a").addNr(-1234567890123), "a");
    EXPECT_EQ(_oxString<25>().addNr(-1234567890123, 16), "00-1234567890123");
}

TEST(FixedString, NarrowsToBytes)
{
    std::string bytes(8, '#');
    Wide(u"a\u0142c").toChar(bytes.data(), 3);
    EXPECT_EQ(bytes, std::string("aB\0#####", 8));
    Wide(u"a\u0142c").toChar(bytes.data(), 8);
    EXPECT_EQ(bytes, std::string("aBc\0####", 8));

    _oxString8_evenSize<250> cut(_oxString<500>(QString(400, u'x')));
    EXPECT_EQ(cut.length, 400) << "the length shows that the text was truncated";
    EXPECT_EQ(cut.value[248], 'x');
    EXPECT_EQ(cut.value[249], 0);
    EXPECT_EQ(cut.add("y").size(), 250);
    EXPECT_EQ(cut.length, 250);
}

TEST(FixedString, RoundTripsThroughTheTransportForm)
{
    QString const text = QStringLiteral("render \u0141\u00F3d\u017A \u20AC");
    _oxString<250> const wide(text);
    _oxString8_evenSize<500> const carried = wide.toOXUTF8();
    EXPECT_TRUE(carried.contains("<UTF8"));
    EXPECT_EQ(_oxString<250>().fromOXUTF8(carried.c_str()), text);
    EXPECT_EQ(_oxString<250>("x").fromOXUTF8(nullptr).size(), 0);
    EXPECT_EQ(_oxString<2500>(QString(2000, u'\u20AC')).toOXUTF8().size(), 500);
}

} // namespace
