#include "shared/system/cpu_value.h"

#include <gtest/gtest.h>

#include <QDebug>

#include <cmath>
#include <limits>
#include <sstream>

namespace
{

_oxBytePerc byte(int value)
{
    return {static_cast<unsigned char>(value)};
}

int fromF(float f)
{
    _oxBytePerc result = byte(99);
    result.fromF(f);
    return result.value;
}

TEST(BytePerc, ConvertsFractionsAndWrapsOutsideTheRange)
{
    float const infinity = std::numeric_limits<float>::infinity();
    std::pair<float, int> const cases[] = {{0, 0},           {0.001f, 1},    {0.5f, 128},
                                           {1, 255},         {1.5f, 127},    {2, 254},
                                           {256 / 255.f, 1}, // 256 wraps to 0, but the minimum is 1
                                           {-0.01f, 253},    {1e30f, 1},     {-1e30f, 0},
                                           {infinity, 255},  {-infinity, 0}, {std::nanf(""), 0}};
    for (auto const & [f, expected] : cases)
        EXPECT_EQ(fromF(f), expected) << f;
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(fromF(byte(i).toF()), i);
    _oxBytePerc half;
    half.fromFPerc(50);
    EXPECT_EQ(half.value, 128);
}

TEST(BytePerc, SaturatesAndReturnsPercentagesWithBias)
{
    _oxBytePerc most = byte(200);
    most += byte(100);
    EXPECT_EQ(most.value, 255);
    _oxBytePerc least = byte(10);
    least -= byte(20);
    EXPECT_EQ(least.value, 0);
    EXPECT_EQ(byte(255).toFperc(), 100.0f);
    EXPECT_EQ(byte(255).toIperc(), 101);
    EXPECT_EQ(_oxBytePerc().toIperc(), 1);
    EXPECT_EQ(byte(128).toIperc(), 51);
    std::pair<int, char const *> const texts[] = {{0, "0%"},    {1, "0%"},     {2, "1%"},
                                                  {128, "50%"}, {254, "100%"}, {255, "100%"}};
    for (auto const & [value, text] : texts)
        EXPECT_EQ(byte(value).str(), QLatin1String(text)) << value;
    for (auto const & [value, between] :
         {std::pair{0, false}, {1, true}, {253, true}, {254, false}, {255, false}})
        EXPECT_EQ(byte(value).noMaxima(), between) << value;
}

TEST(CPUValue, ConvertsBetweenMachineAndCores)
{
    _oxCPUValue load(0.25f, 8);
    EXPECT_EQ(load.asSystemFloat(), 0.25f);
    EXPECT_EQ(load.asSystemPerc(), 25);
    EXPECT_EQ(load.asCoreFloat(), 2);
    EXPECT_EQ(load.asCorePerc(), 200);
    EXPECT_EQ(static_cast<_oxBytePerc>(load).value, 64);

    load.setbyCore(4);
    load.addbyCore(2);
    EXPECT_EQ(load.value, 0.75f);
    load.setbySystemPerc(50);
    load.addbySystemProc(25);
    load.addbyCoreProc(100);
    EXPECT_EQ(load.value, 0.875f);
}

TEST(CPUValue, CalculatesWithTheCoresOfTheLeftOperand)
{
    _oxCPUValue const left(0.5f, 8), right(0.25f, 2);
    EXPECT_EQ((left + right).value, 0.75f);
    EXPECT_EQ((left + right).coreCount, 8);
    EXPECT_EQ((right - left).value, -0.25f);
    EXPECT_EQ((right - left).coreCount, 2);
}

TEST(CPUValue, ClampsOnRequestAndMarksNegativeValuesAsInvalid)
{
    _oxCPUValue over(1.2f, 1), under(-0.1f, 1);
    EXPECT_FALSE(under.isValid());
    over.clamp();
    under.clamp();
    EXPECT_EQ(over.value, 1);
    EXPECT_EQ(under.value, 0);
}

TEST(CPUValue, PrintsRoundedHalfAwayFromZero)
{
    EXPECT_EQ(_oxCPUValue(0.25f, 8).strSystemPerc(), QLatin1String("25%"));
    EXPECT_EQ(_oxCPUValue(0.25f, 8).strCorePerc(), QLatin1String("200%"));
    EXPECT_EQ(_oxCPUValue(0.4375f, 8).strCoreF(), QLatin1String("3.5"));
    std::pair<float, char const *> const texts[] = {{0.125f, "13%"},
                                                    {-0.125f, "-13%"},
                                                    {0.124f, "12%"},
                                                    {-0.001f, "0%"},
                                                    {1099511627776.f, "109951162777600%"}};
    for (auto const & [value, text] : texts)
        EXPECT_EQ(_oxCPUValue(value, 1).strSystemPerc(), QLatin1String(text)) << value;

    QString debug;
    QDebug(&debug).nospace() << _oxCPUValue(0.25f, 8);
    std::ostringstream stream;
    stream << _oxCPUValue(0.25f, 8);
    EXPECT_EQ(debug, QLatin1String("25% of 8 cores"));
    EXPECT_EQ(stream.str(), debug.toStdString());
}

} // namespace
