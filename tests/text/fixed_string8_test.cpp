#include "shared/text/fixed_string8.h"

#include <QString>

#include <gtest/gtest.h>

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
}

TEST(FixedString8, CountedFormsCarryZeros)
{
    Even s("a\0b", 3);
    EXPECT_EQ(s.view(), std::string_view("a\0b", 3));
    EXPECT_EQ(s.add("\0c", 2u).view(), std::string_view("a\0b\0c", 5));
    EXPECT_EQ(s.add("c", 0u).size(), 5);
    EXPECT_EQ(s.fromChar("x\0y", 3).view(), std::string_view("x\0y", 3));
    EXPECT_EQ(s.fromChar("xyz", -1).size(), 0);
    EXPECT_EQ((s = "xyz", s.fromChar(nullptr, 3).size()), 0);
    EXPECT_EQ(s.value[0], 'x');
    EXPECT_EQ((s = std::string("p\0q", 3)).view(), std::string_view("p\0q", 3));
    EXPECT_FALSE(s == "p");
}

TEST(FixedString8, CountedComparisonsFollowTheirRules)
{
    Even const s("abcXYZ");
    EXPECT_TRUE(s.startsWith("ABx", 2) && s.isEqual("ABCxyz_", 6));
    EXPECT_FALSE(s.startsWith("ABx", 0) || s.startsWith("ABx", 3) || s.startsWith("ABx", -1));
    EXPECT_TRUE(s.endsWith("xyz", 1)) << "only the range of the count is checked";
    EXPECT_FALSE(s.endsWith("xyz", 0) || s.endsWith("xyz", 7));
    EXPECT_TRUE(s.isEqualSameCase("abcXYZ", 6));
    EXPECT_FALSE(s.isEqualSameCase("ABCXYZ", 6) || s.isEqualSameCase("abcXYZ", 5));
    EXPECT_TRUE(s.isEqualUpperInput("ABCXYZ"));
    EXPECT_FALSE(s.isEqualUpperInput("abcXYZ")) << "only this string is converted to upper case";
    EXPECT_TRUE(Even("\xE9") > Even("z")) << "bytes are unsigned";
    EXPECT_EQ(Even("\xE9").compare("z"), 1);
    EXPECT_TRUE(Even("0123456789") == QStringLiteral("0123456789abc"))
        << "truncated before the comparison";
}

TEST(FixedString8, AddNrLeavesOneByteOfTheCapacity)
{
    EXPECT_EQ(Even().addNr(12345678), "12345678");
    EXPECT_EQ(Even().addNr(123456789), "");
    EXPECT_EQ(_oxString8_evenSize<6>("a").addNr(12345), "a");
    EXPECT_EQ(_oxString8_evenSize<30>().addNr(LLONG_MIN), "-9223372036854775808");
    EXPECT_EQ(Even("a\0b", 3).addNr(5), "a") << "the length is computed again";
}

TEST(FixedString8, ReadsInts)
{
    struct Case {
        char const * text;
        int strict;
        bool ok;
        int lenient;
    };
    for (Case const & c :
         std::initializer_list<Case>{{"-12", -12, true, -12},
                                     {"1-2", 0, false, 1},
                                     {"", 0, true, 0},
                                     {"-", 0, true, 0},
                                     {" 7", 0, false, 7},
                                     {"+7", 0, false, 7},
                                     {"12x", 0, false, 12},
                                     {"2147483648", INT_MAX, true, INT_MAX},
                                     {"-99999999999999999999", INT_MIN, true, INT_MIN}}) {
        bool ok = !c.ok;
        _oxString8_evenSize<30> const s(c.text);
        EXPECT_EQ(s.toInt(&ok), c.strict) << c.text;
        EXPECT_EQ(ok, c.ok) << c.text;
        EXPECT_EQ(s.toInt(nullptr), c.lenient) << c.text;
    }
    EXPECT_EQ(Even("12\0"
                   "34",
                   5)
                  .toInt(nullptr),
              12);
}

TEST(FixedString8, ToWcharStaysInTheBuffer)
{
    for (int const capacity : {-1, 0, 1, 3, 4, 9}) {
        std::vector<unsigned short> units(12, 0x7777);
        Even("ab\xE9").toWchar_t(units.data(), capacity);
        std::vector<unsigned short> expected(12, 0x7777);
        unsigned short const text[] = {'a', 'b', 0xE9};
        if (capacity > 0) {
            int const n = std::min(capacity - 1, 3);
            std::copy_n(text, n, expected.begin());
            expected[static_cast<std::size_t>(n)] = 0;
        }
        EXPECT_EQ(units, expected) << capacity;
    }
}

TEST(FixedString8, AllSizeStorageStartsCleared)
{
    _oxString8_AllSize<10> s;
    EXPECT_EQ(s.length, 0);
    EXPECT_EQ(std::string_view(s.value, sizeof s.value),
              std::string_view("\0\0\0\0\0\0\0\0\0\0\0", 11));
    EXPECT_EQ(sizeof(_oxString8_AllSize<12>), 16u);
    EXPECT_EQ(sizeof(_oxString8_AllSize<15>), 18u);
    EXPECT_EQ(sizeof(_oxString8_AllSize<75>), 78u);
}

} // namespace
