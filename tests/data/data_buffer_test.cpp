#include "shared/data/data_buffer.h"
#include "shared/system/os_error.h"
#include "tests/support/file_content.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <random>
#include <string>

using namespace ox::tests;

namespace
{

using enum _OX_DataBuffer::ErrorCode;

constexpr int limit = 768 << 20;

void fill(_OX_DataBuffer & buffer, std::string text)
{
    buffer.size = 0;
    ASSERT_TRUE(buffer.append(text.data(), int(text.size())));
}

std::string randomBytes(std::size_t count, int alphabet, unsigned seed)
{
    std::mt19937 random(seed);
    std::string bytes(count, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return char(random() % unsigned(alphabet)); });
    return bytes;
}

/// Decompresses, in pieces, what chunkzipAdd() has compressed into the buffer. Returns the text.
std::string inflated(_OX_DataBuffer & buffer)
{
    z_stream zs;
    std::string result;
    EXPECT_TRUE(buffer.chunkUnzipStart(zs));
    unsigned char piece[777];
    while (buffer.chunkUnzipGet(zs, piece, sizeof piece))
        result.append(reinterpret_cast<char *>(piece), sizeof piece - zs.avail_out);
    EXPECT_TRUE(buffer.chunkUnzipFinish(zs));
    return result;
}

} // namespace

TEST(DataBuffer, ReturnsTheDocumentedErrorTexts)
{
    struct {
        int code; // numbers instead of constants, since applications store the numbers
        char const * text;
    } const cases[] = {{-100, "Unable to allocate memory"},
                       {-102, "Wrong File Header"},
                       {-103, "CRC Error, data corrupt!"},
                       {-104, "Unable to read data from file!"},
                       {-105, "Unable to write data into file!"},
                       {-106, "Decompression error, wrong result size"},
                       {-107, "File does not exists!"},
                       {-1000, "File error: End of file reached!"},
                       {-1005, "File error 5"},
                       {INT_MIN, "File error 2147482648"},
                       {-1, "Compression Error, stream error"},
                       {-3, "Compression Error, data CRC error"},
                       {-4, "Compression Error, memory"},
                       {-5, "Compression Error, buffer"},
                       {-6, "Compression Error, version mismatch"},
                       {0, "unknown error 0"},
                       {-7, "unknown error -7"},
                       {-108, "unknown error -108"},
                       {-999, "unknown error -999"}};
    _OX_DataBuffer buffer;
    for (auto const & [code, text] : cases) {
        EXPECT_STREQ(_OX_DataBuffer::errorString(code).c_str(), text) << code;
        buffer.error = code;
        EXPECT_STREQ(buffer.errorString().c_str(), text) << code;
    }
    errno = ENOENT;
    std::string const systemText = oxLastOSError8().c_str();
    EXPECT_FALSE(systemText.empty());
    errno = ENOENT;
    EXPECT_EQ(_OX_DataBuffer::errorString(-101).c_str(), "System error: " + systemText);
}

TEST(DataBuffer, ReturnsZlibErrorsAsQStrings)
{
    int code = -3;
    EXPECT_EQ(oxConvertZLibError(code), QStringLiteral("Compression Error, data CRC error"));
    code = 42;
    EXPECT_EQ(oxConvertZLibError(code), QStringLiteral("Compression Error, unknown error 42"));
    code = -1;
    errno = EACCES;
    QString const systemText(oxLastOSError());
    errno = EACCES;
    EXPECT_EQ(oxConvertZLibError(code),
              QStringLiteral("Compression Error, system error;") + systemText);
}

TEST(DataBuffer, KeepsALargeEnoughBlockAndRefusesInvalidSizes)
{
    _OX_DataBuffer buffer;
    EXPECT_TRUE(buffer.resize(0, 768));
    EXPECT_EQ(buffer.data, nullptr);
    ASSERT_TRUE(buffer.newsize(100, 768));
    EXPECT_EQ(std::string(buffer.data, 101), std::string(101, '\0'));
    buffer.data[3] = 'x';
    buffer.error = 5;
    EXPECT_TRUE(buffer.newsize(10, 768));
    EXPECT_EQ(buffer.sizeAllocated, 100);
    EXPECT_EQ(buffer.data[3], 'x');
    EXPECT_EQ(buffer.error, 0);
    buffer.fillZero();
    EXPECT_EQ(buffer.data[3], '\0');
    buffer.error = 5;
    EXPECT_FALSE(buffer.newsize((1 << 20) + 1, 1));
    EXPECT_FALSE(buffer.resize(limit + 1, 768));
    EXPECT_EQ(buffer.error, 5);
    EXPECT_EQ(buffer.sizeAllocated, 100);

    char text[] = "render";
    EXPECT_TRUE(buffer.append(text, -5));
    ASSERT_TRUE(buffer.append(text, 6));
    EXPECT_FALSE(buffer.append(nullptr, 1));
    EXPECT_FALSE(buffer.append(text, limit));
    EXPECT_FALSE(buffer.append(text, INT_MAX));
    EXPECT_EQ(contentOf(buffer), "render");
    EXPECT_TRUE(buffer.resize(limit, 768));
    EXPECT_EQ(buffer.sizeAllocated, limit);
    EXPECT_EQ(contentOf(buffer), "render");

    _OX_DataBuffer copy;
    EXPECT_TRUE(copy.copyFromBuffer(text, 6));
    EXPECT_EQ(copy.size, 0) << "the caller sets the size";
    EXPECT_TRUE(copy.copyFromBuffer(text, -1));
    EXPECT_FALSE(copy.copyFromBuffer(nullptr, 1));
    EXPECT_FALSE(copy.copyFromBuffer(text, INT_MAX));
}

TEST(DataBuffer, DecompressesFromAnOffset)
{
    std::string const text(5000, 'r');
    int const offset = 16;
    _OX_DataBuffer source;
    fill(source, text);
    _OX_DataBuffer packed;
    ASSERT_TRUE(packed.compressFrom(source, offset));
    EXPECT_EQ(packed.isCompressed, 1);
    EXPECT_EQ(packed.sizeUncompressed, 5000);
    EXPECT_EQ(packed.dataOffset, offset);

    // decompressTo(unpacked, &offset) uses `offset` and ignores `packed.dataOffset`. `packed.size`
    // may include the `offset` bytes before the stream.
    packed.size += offset;
    packed.resize(packed.size, 768);
    packed.dataOffset = -7;
    _OX_DataBuffer unpacked;
    unpacked.isCompressed = 1;
    ASSERT_TRUE(packed.decompressTo(unpacked, &offset));
    EXPECT_EQ(contentOf(unpacked).toStdString(), text);
    EXPECT_EQ(unpacked.isCompressed, 0);
}

TEST(DataBuffer, ReportsWhyItDidNotCompressOrDecompress)
{
    _OX_DataBuffer source;
    fill(source, "a job's frames");
    _OX_DataBuffer packed;
    EXPECT_FALSE(packed.compressFromB(source.data, -1, 0));
    EXPECT_EQ(packed.error, Z_STREAM_ERROR);
    EXPECT_FALSE(packed.compressFromB(source.data, 5, limit));
    EXPECT_FALSE(packed.compressFromB(source.data, 5, -1));
    EXPECT_FALSE(source.compressFrom(source, 0));
    ASSERT_TRUE(packed.compressFrom(source, 0));

    char out[100];
    EXPECT_EQ(packed.decompressToB(out, 5, nullptr), Z_BUF_ERROR);
    EXPECT_LT(packed.decompressToB(out, -5, nullptr), 0);
    EXPECT_EQ(packed.decompressToB(out, 15, nullptr), WrongLength);
    EXPECT_EQ(packed.error, WrongLength);

    _OX_DataBuffer larger;
    larger.newsize(15, 768);
    EXPECT_FALSE(packed.decompressTo(larger, nullptr));
    EXPECT_EQ(packed.error, WrongLength);
    EXPECT_EQ(larger.error, 0);
    EXPECT_EQ(larger.size, WrongLength);

    packed.data[packed.size / 2] ^= 0x55;
    _OX_DataBuffer dest;
    EXPECT_FALSE(packed.decompressTo(dest, nullptr));
    EXPECT_EQ(packed.error, Z_DATA_ERROR);
}

TEST(DataBuffer, CompressesInPieces)
{
    std::string text = randomBytes(300000, 7, 2);
    _OX_DataBuffer buffer;
    z_stream zs;
    ASSERT_TRUE(buffer.chunkzipStart(zs, 100000));
    auto * const bytes = reinterpret_cast<unsigned char *>(text.data());
    for (int at = 0; at < 300000; at += 1000)
        ASSERT_TRUE(buffer.chunkzipAdd(zs, bytes + at, 1000, at == 299000));
    EXPECT_TRUE(buffer.chunkzipFinish(zs));
    EXPECT_EQ(buffer.sizeAllocated, 150000)
        << "the block grows by one half if it has no space for two pieces";

    // Decompression ignores bytes after the end of the stream. At a damaged byte it stops with an
    // error.
    char other[] = "behind";
    ASSERT_TRUE(buffer.append(other, 6));
    EXPECT_EQ(inflated(buffer), text);
    buffer.data[buffer.size / 2] ^= 0x55;
    EXPECT_NE(inflated(buffer), text);
    EXPECT_EQ(buffer.error, Z_DATA_ERROR);
}

TEST(DataBuffer, StopsWhenACompressedPieceDoesNotFit)
{
    std::string text = randomBytes(5000, 256, 3);
    auto * const bytes = reinterpret_cast<unsigned char *>(text.data());
    _OX_DataBuffer buffer;
    z_stream zs;
    EXPECT_FALSE(buffer.chunkzipStart(zs, -1));
    ASSERT_TRUE(buffer.chunkzipStart(zs, 1));
    EXPECT_FALSE(buffer.chunkzipAdd(zs, bytes, 5000, false))
        << "the block does not grow, since one half of 1 rounds to 0";
    EXPECT_EQ(buffer.sizeAllocated, 1);
    EXPECT_FALSE(buffer.chunkzipAdd(zs, bytes, -1, true));
    buffer.chunkzipFinish(zs);
    ASSERT_TRUE(buffer.chunkzipStart(zs, 1000));
    EXPECT_FALSE(buffer.chunkzipAdd(zs, bytes, 5000, true)) << "the block grows only once per call";
    EXPECT_EQ(buffer.sizeAllocated, 1500);
    EXPECT_EQ(buffer.size, 1500);
    EXPECT_EQ(buffer.error, Z_BUF_ERROR);
    buffer.chunkzipFinish(zs);
}
