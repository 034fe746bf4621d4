#include "shared/data/checksum.h"
#include "shared/data/crc_kernels.h"
#include "tests/support/golden.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

using namespace ox::data;
using namespace ox::tests;

namespace
{

unsigned char const * bytes(char const * text)
{
    return reinterpret_cast<unsigned char const *>(text);
}

unsigned int partial(unsigned int crc, char const * text, unsigned int length)
{
    oxCRCPartial(&crc, bytes(text), length);
    return crc;
}

// Computed before main(), since every test may call a function that builds the CRC table.
std::array const checksumsBeforeTheBuild = {partial(0x12345678, "ab", 2),
                                            partial(0x12345678, "abcdef", 6)};

TEST(Checksum, PartialOnlyShiftsTheRegisterBeforeTheTableIsBuilt)
{
    EXPECT_EQ(checksumsBeforeTheBuild[0], 0x1234u);
    EXPECT_EQ(checksumsBeforeTheBuild[1], 0u);
}

TEST(Checksum, PartialContinuesThePreviousPiece)
{
    oxCRCInitialize();
    EXPECT_EQ(~partial(partial(0xFFFFFFFF, "1234", 4), "56789", 5), 0xCBF43926u);
}

TEST(Checksum, EmptyDataHasTheChecksumZeroAndMayBeNull)
{
    EXPECT_EQ(oxCRCCalc(nullptr, 0), 0u);
    EXPECT_EQ(oxCRCCalc8(nullptr, 0, false), 0);
    EXPECT_EQ(oxCRCCalc8(nullptr, 0, true), 0);
    EXPECT_EQ(oxCRCCalc16(nullptr, 0), 0);
    EXPECT_EQ(oxCRCCalc64(nullptr, 0), 0u);
    EXPECT_EQ(partial(0x12345678, nullptr, 0), 0x12345678u);
}

TEST(Checksum, AgreesWithAnIndependentProgram)
{
    QJsonObject const checksums = goldenIndex()[u"checksums"].toObject();
    ASSERT_EQ(checksums.size(), 3);
    for (QString const & name : checksums.keys()) {
        SCOPED_TRACE(name.toStdString());
        QJsonObject const expected = checksums[name].toObject();
        QByteArray const raw = goldenFile((name + u".raw"_q).toUtf8());
        ASSERT_FALSE(raw.isEmpty());
        auto const data = bytes(raw.constData());
        auto const size = static_cast<unsigned int>(raw.size());
        auto const pairs = static_cast<unsigned long>(expected[u"everySecondByte_len"].toInt());

        EXPECT_EQ(oxCRCCalc8(data, size, false), expected[u"crc8"].toInt());
        EXPECT_EQ(oxCRCCalc8(data, pairs, true), expected[u"crc8_everySecondByte"].toInt());
        EXPECT_EQ(oxCRCCalc16(data, size), expected[u"crc16"].toInt());
        EXPECT_EQ(oxCRCCalc(data, size), expected[u"crc32"].toDouble());
        EXPECT_EQ(oxCRCCalc64(data, size), expected[u"crc64"].toString().toULongLong(nullptr, 16));
    }
}

/// Returns random bytes. A regular pattern could hide a fault of a kernel (a CRC implementation).
std::vector<unsigned char> noise(std::size_t size)
{
    std::vector<unsigned char> data(size);
    std::uint32_t state = 1;
    for (unsigned char & byte : data) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<unsigned char>(state >> 24);
    }
    return data;
}

template <class Crc>
typename Crc::Word bitByBit(typename Crc::Word crc, unsigned char byte)
{
    using Word = typename Crc::Word;
    constexpr int width = 8 * sizeof(Word);
    for (int bit = 0; bit < 8; ++bit) {
        bool const input = (byte >> (Crc::isReflected ? bit : 7 - bit) & 1) != 0;
        bool const outgoing = (crc >> (Crc::isReflected ? 0 : width - 1) & 1) != 0;
        crc = static_cast<Word>(Crc::isReflected ? crc >> 1 : crc << 1);
        if (input != outgoing)
            crc ^= Crc::isReflected ? reflectBits(Crc::polynomial) : Crc::polynomial;
    }
    return crc;
}

/// Calls visit() for each type of CRC in the library.
template <class Visit>
void forEachCrc(Visit visit)
{
    visit(Crc16());
    visit(Crc32());
    visit(Crc64());
}

/// Returns the kernel with this name, or null if this build does not contain it.
template <class Crc>
CrcKernel<Crc> const * kernelNamed(std::string const & name)
{
    for (auto const & kernel : crcKernels<Crc>()) {
        if (kernel.name == name)
            return &kernel;
    }
    return nullptr;
}

class CrcKernels : public testing::TestWithParam<char const *>
{
  protected:
    void SetUp() override
    {
        auto const kernel = kernelNamed<Crc32>(GetParam());
        if (kernel == nullptr)
            GTEST_SKIP() << "a build for this processor architecture does not contain this kernel";
        if (!kernel->isSupported())
            GTEST_SKIP()
                << "this processor or its operating system does not support the instructions";
    }
};

TEST_P(CrcKernels, AgreeWithTheDefinitionAtEveryLengthAndAlignment)
{
    constexpr std::size_t longest = 1200;
    constexpr std::size_t alignments = 64;
    std::vector<unsigned char> const data = noise(longest + 2 * alignments);
    auto const address = reinterpret_cast<std::uintptr_t>(data.data());
    auto const aligned = data.data() + (alignments - address % alignments);

    forEachCrc([&]<class Crc>(Crc) {
        auto const kernel = kernelNamed<Crc>(GetParam());
        for (std::size_t alignment = 0; alignment < alignments; ++alignment) {
            auto const start = aligned + alignment;
            auto const initial = static_cast<typename Crc::Word>(0x123456789ABCDEF0u + alignment);
            auto expected = initial;
            for (std::size_t length = 0; length <= longest; ++length) {
                ASSERT_EQ(kernel->advance(initial, start, length), expected)
                    << 8 * sizeof initial << " bits, " << length << " bytes at " << alignment;
                expected = bitByBit<Crc>(expected, start[length]);
            }
        }
    });
}

TEST_P(CrcKernels, AgreeWithTheDefinitionOnLongDataAndReadNothingAfterIt)
{
    std::vector<unsigned char> const data = noise((std::size_t{3} << 20) + 5 * 16 + 7);
    forEachCrc([&]<class Crc>(Crc) {
        typename Crc::Word expected = 0;
        for (unsigned char const byte : data)
            expected = bitByBit<Crc>(expected, byte);
        EXPECT_EQ(kernelNamed<Crc>(GetParam())->advance(0, data.data(), data.size()), expected);
    });
}

INSTANTIATE_TEST_SUITE_P(All, CrcKernels, testing::Values("avx512", "avx2", "pclmul", "tables"),
                         [](auto const & test) { return std::string(test.param); });

} // namespace
