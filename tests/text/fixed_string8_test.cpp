#include "shared/text/fixed_string8.h"

#include <gtest/gtest.h>

#include <QString>

#include <climits>
#include <string>
#include <vector>

namespace
{

using Even = _oxString8_evenSize<10>;

TEST(FixedString8, NarrowsUnitsToTheirLowByteAndQStringsToLatin1)
{
    unsigned short const units[] = {0x0141, 0x00E9, 0x2042, 0};
    EXPECT_EQ(Even(units), "A\xE9\x42");
    EXPECT_EQ(Even() += units[0], "A");
    QString const text = QStringLiteral("\u00E9\u20AC\U0001F600");
    EXPECT_EQ(Even(text).view(), text.toLatin1().toStdString());
    EXPECT_EQ(QString(Even("\xE9")), QStringLiteral("\u00E9"));
    EXPECT_EQ(Even("a") + "\xE9", QStringLiteral("a\u00E9"));
    EXPECT_EQ(Even("ab\xE9").indexOf(units[1], 7), 2);
    EXPECT_EQ(Even("ab\xE9").lastIndexOf(units[1], 7), 2);
    std::vector<unsigned short> wide(5, 0x7777);
    Even("ab\xE9").toWchar_t(wide.data(), 4);
    EXPECT_EQ(wide, (std::vector<unsigned short>{'a', 'b', 0xE9, 0, 0x7777}));
    Even("xyz").toWchar_t(wide.data(), 2);
    EXPECT_EQ(wide, (std::vector<unsigned short>{'x', 0, 0xE9, 0, 0x7777}));
}

TEST(FixedString8, OverloadsWithACountFollowTheirRules)
{
    Even s("a\0b", 3);
    EXPECT_EQ(s.view(), std::string_view("a\0b", 3));
    EXPECT_EQ(s.add("\0c", 2u).view(), std::string_view("a\0b\0c", 5));
    EXPECT_EQ(s.fromChar("x\0y", 3).view(), std::string_view("x\0y", 3));
    EXPECT_EQ(s.fromChar("xyz", -1).size(), 0);
    EXPECT_EQ((s = "xyz", s.fromChar(nullptr, 3).size()), 0);
    EXPECT_EQ(s.value[0], 'x');

    s = "abcXYZ";
    EXPECT_TRUE(s.startsWith("ABx", 2) && s.isEqual("ABCxyz_", 6));
    EXPECT_FALSE(s.startsWith("ABx", 0) || s.startsWith("ABx", 3) || s.startsWith("ABx", -1));
    EXPECT_TRUE(s.endsWith("xyz", 1)) << "only the range of the count is checked";
    EXPECT_FALSE(s.endsWith("xyz", 0) || s.endsWith("xyz", 7));
    EXPECT_TRUE(s.isEqualSameCase("abcXYZ", 6));
    EXPECT_FALSE(s.isEqualSameCase("ABCXYZ", 6) || s.isEqualSameCase("abcXYZ", 5));
    EXPECT_TRUE(s.isEqualUpperInput("ABCXYZ"));
    EXPECT_FALSE(s.isEqualUpperInput("abcXYZ")) << "only this string is converted to upper case";
    EXPECT_TRUE(Even("\xE9") > Even("z")) << "bytes are unsigned";
    EXPECT_TRUE(Even("0123456789") == QStringLiteral("0123456789abc"))
        << "truncated before the comparison";
}

TEST(FixedString8, ConvertsNumbersWithinTheirLimits)
{
    EXPECT_EQ(Even().addNr(12345678), "12345678");
    EXPECT_EQ(Even().addNr(123456789), "") << "one byte of the capacity stays free";
    EXPECT_EQ(Even("a\0b", 3).addNr(5), "a") << "the length is computed again";
    bool ok = false;
    EXPECT_EQ(Even("-").toInt(&ok), 0);
    EXPECT_TRUE(ok);
    EXPECT_EQ(_oxString8_evenSize<30>("-99999999999999999999").toInt(&ok), INT_MIN);
    EXPECT_TRUE(ok);
    EXPECT_EQ(Even("12x").toInt(&ok), 0);
    EXPECT_FALSE(ok);
    EXPECT_EQ(Even("12x").toInt(nullptr), 12);
}

TEST(FixedString8, AllSizeStorageIsInitialisedToZero)
{
    _oxString8_AllSize<10> s;
    EXPECT_EQ(s.length, 0);
    EXPECT_EQ(std::string_view(s.value, sizeof s.value),
              std::string_view("\0\0\0\0\0\0\0\0\0\0\0", 11));
}

} // namespace
