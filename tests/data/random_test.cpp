#include "shared/data/random.h"
#include "tests/support/golden.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <QJsonArray>

#include <string>
#include <string_view>

using namespace ox::tests;
using namespace std::string_view_literals;

namespace
{

TEST(Random, SequencesAndStringsAgreeWithAnIndependentProgram)
{
    QJsonObject const random = goldenIndex()[u"random"].toObject();
    ASSERT_EQ(random.size(), 4);
    for (QString const & start : random.keys()) {
        SCOPED_TRACE(start.toStdString());
        QJsonObject const expected = random[start].toObject();
        unsigned int seed = start.toUInt();
        for (QJsonValue const & next : expected[u"seeds"].toArray()) {
            float const scaled = oxRand(seed);
            EXPECT_EQ(seed, next.toDouble());
            EXPECT_EQ(scaled, static_cast<float>(next.toDouble() / 2147483648.0));
        }
        auto const text = [&](int mode) {
            return std::string(oxRandString(start.toUInt(), mode).view());
        };
        auto const expectedText = [&](QString const & key) { return expected[key].toString(); };
        EXPECT_EQ(text(0), QByteArray::fromHex(expectedText(QStringLiteral("mode0_hex")).toLatin1())
                               .toStdString());
        EXPECT_EQ(text(1), expectedText(QStringLiteral("mode1")).toStdString());
        EXPECT_EQ(text(2), expectedText(QStringLiteral("mode2")).toStdString());
    }
}

TEST(Random, SeedsOfBlocksAgreeWithAnIndependentProgram)
{
    QJsonObject const checksums = goldenIndex()[u"checksums"].toObject();
    ASSERT_EQ(checksums.size(), 3);
    for (QString const & name : checksums.keys()) {
        QByteArray const raw = goldenFile((name + u".raw"_q).toUtf8());
        auto const data = reinterpret_cast<unsigned char const *>(raw.constData());
        EXPECT_EQ(oxRandCalc(data, static_cast<unsigned int>(raw.size())),
                  checksums[name].toObject()[u"oxRandCalc"].toDouble());
    }
}

TEST(Random, ZeroIsFollowedByTheLargestNumber)
{
    unsigned int seed = 0;
    EXPECT_EQ(oxRand(seed), 1.0f);
    EXPECT_EQ(seed, 0x7FFFFFFFu);
    EXPECT_EQ(oxRandCalc(nullptr, 0), 0x7FFFFFFFu);
    unsigned char const onlyByte = 200; // the byte at position 0 is multiplied by 0
    EXPECT_EQ(oxRandCalc(&onlyByte, 1), 0x7FFFFFFFu);
}

TEST(Random, AnUnknownModeGivesTenZeroBytes)
{
    EXPECT_EQ(oxRandString(1, 7).view(), "\0\0\0\0\0\0\0\0\0\0"sv);
}

} // namespace
