#include "shared/text/format.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

using namespace ox::tests;

namespace
{

TEST(Durations, FollowThePatternOfEachFunction)
{
    EXPECT_EQ(oxSec2ms(-65), u"-1.-5"_q);
    EXPECT_EQ(oxSec2hms(-3725, false), u"-1:02.05"_q);
    EXPECT_EQ(oxSec2hms(-605, true), u"-10.05"_q);
    EXPECT_EQ(oxSec2hms(60, true), u" 0.00"_q) << "a full minute shows as 0";
    EXPECT_EQ(oxSec2dhm(90000), u"1d 25:00"_q);
    EXPECT_EQ(oxMill2s(1000, false), u".000"_q);
    EXPECT_EQ(oxMill2s(-5, false), u".-05"_q);
}

TEST(Numbers, HaveSeparatorsOfThousands)
{
    EXPECT_EQ(oxPointTsd(1000, false), u"1000"_q) << "only numbers above 1000 are grouped";
    EXPECT_EQ(oxPointTsd(1000999, true), u" 1000.999"_q);
    EXPECT_EQ(oxPointTsd(-1001, true), u"-1.001"_q);
    EXPECT_EQ(oxSpaceTsd(1001000, false), u"1 001 000"_q);
    EXPECT_EQ(oxPointTsd(LLONG_MIN, false), u"-9.223.372.036.854.775.808"_q);
}

TEST(Numbers, AreFixedStrings)
{
    constexpr float inf = std::numeric_limits<float>::infinity();
    struct Case {
        float f;
        int decimals;
        char const * text;
    };
    for (Case const & c : std::initializer_list<Case>{
             {3.0f, 0, "3.0"},
             {1.96f, 1, "1.10"},
             {0.35f, 1, "0.4"},
             {-1.5f, 1, "-1.-5"},
             {-1.25f, 4, "-1.-2500"},
             {-1.00390625f, 8, "-1.0-390625"},
             {2.75f, -3, "2.1"},
             {0.5f, 9, "0.500000000"},
             {0.5f, 18, "0.499999992153374720"}, // 10^18 is rounded to single precision
             {1.5f, 30, "1.00000000000922337203685"},
             {1.5f, INT_MAX, "1.00000000000000000000000"},
             {3e9f, 1, "2147483647.0"},
             {-inf, 2, "-2147483648.00"},
             {std::nanf(""), 1, "0.0"}}) {
        SCOPED_TRACE(testing::Message() << c.f << " with " << c.decimals);
        EXPECT_EQ(float2Str(c.f, c.decimals, '.').view(),
                  QString::fromLatin1(c.text).toStdU16String());
    }
    EXPECT_EQ(float2Str(2.5f, 1, 0x066B), QStringLiteral("2\u066B5"));
}

TEST(Numbers, AreWrittenInOtherBases)
{
    EXPECT_EQ(numberToStr(36 * 36 + 10, 2), u"0A"_q) << "only the last digits are returned";
    EXPECT_EQ(numberToStr(ULLONG_MAX, INT_MAX), u"3W5E11264SGSF"_q);
    EXPECT_EQ(numberToStr(5, INT_MIN), QString());

    unsigned char const bytes[] = {0x00, 0x0A, 0xF0, 0xFF};
    EXPECT_EQ(byte2Hex(bytes, 4), u"000af0ff"_q);
    EXPECT_EQ(byte2Hex(bytes, 0) + byte2Hex(bytes, -1) + byte2Hex(nullptr, 4), QString());
}

TEST(Flags, AreWordsOrDigits)
{
    EXPECT_EQ(bool2str(true, true) + bool2str(false, true), u"truefalse"_q);
    EXPECT_EQ(bool2str(true, false) + bool2str(false, false), u"10"_q);
    EXPECT_EQ(bool2String(true) + bool2String(false), u"10"_q);
}

TEST(Splitting, CutsAtTheOutermostSeparator)
{
    struct Case {
        char const * text;
        char const * separators[3];
        char const * first;
        char const * last;
    };
    for (Case const & c : std::initializer_list<Case>{
             {"a/b\\c", {"/", "\\", ""}, "a", "a/b"},
             {"a/b\\c", {"\\", "/", ""}, "a", "a/b"},
             {"1x2X3", {"", "", "x"}, "1", "1x2"},
             {"frame_END.end_end", {"_end", "nothing", ""}, "frame", "frame_END.end"},
             {"aaa", {"aa", "a", "aaa"}, "", "aa"},
             {"", {"x", "", ""}, "", ""}}) {
        SCOPED_TRACE(c.text);
        QString const whole = QString::fromLatin1(c.text);
        QString const s1 = QString::fromLatin1(c.separators[0]);
        QString const s2 = QString::fromLatin1(c.separators[1]);
        QString const s3 = QString::fromLatin1(c.separators[2]);
        auto const expect = [&](auto split, auto cut, char const * start) {
            QString const expected = QString::fromLatin1(start);
            QString text = whole;
            QString rest = u"kept"_q;
            split(text, rest, s1, s2, s3);
            EXPECT_EQ(text, expected);
            EXPECT_EQ(rest, whole == expected ? u"kept"_q : whole.mid(expected.size()));
            text = whole;
            cut(text, s1, s2, s3);
            EXPECT_EQ(text, expected);
        };
        expect(splitAtFirstOccurence, cutAtFirstOccurence, c.first);
        expect(splitAtLastOccurence, cutAtLastOccurence, c.last);
    }
}

TEST(ShortNames, ReferToTheSameSetting)
{
    EXPECT_TRUE(_oxStringCompareShort(u"coImageWidth"_q, u"CoImageWidth"_q));
    EXPECT_TRUE(_oxStringCompareShort(u"co Image Width"_q, u" coImageWidth "_q));
    EXPECT_TRUE(_oxStringCompareShort(u"coImageWidth"_q, u"coIW"_q));
    EXPECT_FALSE(_oxStringCompareShort(u"ImageFormat"_q, u"Image_format"_q));
    EXPECT_TRUE(_oxStringCompareShort(u""_q, u"  "_q));
    EXPECT_FALSE(_oxStringCompareShort(u"coImageWidth"_q, u"IW"_q));
    EXPECT_FALSE(_oxStringCompareShort(u"width"_q, u"height"_q)) << "neither has a short form";
    EXPECT_FALSE(_oxStringCompareShort(u"cowidth"_q, u"coheight"_q))
        << "the short form is only the prefix";
    EXPECT_FALSE(_oxStringCompareShort(u"width"_q, u""_q));
}

TEST(LayoutReport, StatesTheLayoutsOfTheRecords)
{
    EXPECT_EQ(listStringMemorySize(),
              "----Strings--------\n"
              "sizeof _oxString10                26\n"
              "sizeof _oxString25                56\n"
              "sizeof _oxString75               156\n"
              "sizeof _oxString250              506\n"
              "pos value                          0 \n"
              "pos length                       502 \n"
              "sizeof _oxString8_10              14\n"
              "sizeof _oxString8_12              16\n"
              "sizeof _oxString8_15              18\n"
              "sizeof _oxString8_50              54\n"
              "sizeof _oxString8_75              78\n"
              "pos length                        12 \n"
              "pos value                          0 \n"
              "pos length                        16 \n"
              "pos value                          0 \n"
              "sizeof _oxString8_AllSize<10>            14\n"
              "sizeof _oxString8_AllSize<12>            16\n"
              "sizeof _oxString8_AllSize<15>            18\n"
              "sizeof _oxString8_AllSize<50>            54\n"
              "sizeof _oxString8_AllSize<75>            78\n"
              "pos length                                0 \n"
              "pos value                                 2 \n"
              u"sizeof _oxStringList      %1\n"_q.arg(sizeof(void *) == 8 ? 520 : 512, 10));
}

} // namespace
