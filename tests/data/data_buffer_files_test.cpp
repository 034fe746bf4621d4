#include "shared/data/data_buffer.h"
#include "tests/support/child.h"
#include "tests/support/file_content.h"
#include "tests/support/golden.h"
#include "tests/support/program_run.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QStandardPaths>

#include <climits>
#include <cstring>
#include <string>

using namespace ox::tests;

namespace
{

using FileName = _oxString8_evenSize<500>;
using enum _OX_DataBuffer::ErrorCode;

FileName fileName(QString const & path)
{
    return FileName(path.toUtf8().constData());
}

FileName golden(char const * name)
{
    return fileName(goldenPath(name));
}

QByteArray bytesOf(FileName const & name)
{
    QString const file = QString::fromUtf8(name.c_str());
    EXPECT_TRUE(QFile::exists(file)) << name.c_str();
    return contentOf(file);
}

/// Returns the 32 bytes of a file header with these eight words.
QByteArray headerOf(std::initializer_list<std::int32_t> words)
{
    return {reinterpret_cast<char const *>(words.begin()), int(words.size() * 4)};
}

class DataBufferFile : public testing::Test
{
  protected:
    FileName path(char const * name) const { return fileName(folder_.filePath(text(name))); }

    FileName write(char const * name, QByteArray const & bytes) const
    {
        return fileName(writeFile(folder_.filePath(text(name)), bytes));
    }

    FileName writeGzip(char const * name, QByteArray const & bytes) const
    {
        FileName const file = path(name);
        EXPECT_EQ(_OX_DataBuffer::saveGzipFile(file, bytes.constData(), int(bytes.size())), 0);
        return file;
    }

    TemporaryFolder folder_;
};

/// Runs another program and returns its output. The test fails if the program fails.
QByteArray outputOf(char const * program, QStringList const & arguments)
{
    ProgramRun const run = runProgram(text(program), arguments);
    EXPECT_TRUE(run.hasSucceeded()) << run.errors.constData();
    return run.output;
}

} // namespace

TEST_F(DataBufferFile, ReadsAndWritesTheFilesOfAnIndependentProgram)
{
    for (std::string const set : {"small", "text", "binary"}) {
        SCOPED_TRACE(set);
        auto const file = [&set](char const * extension) {
            return golden((set + extension).c_str());
        };
        QByteArray const raw = bytesOf(file(".raw"));
        int const length = int(raw.size());
        QByteArray back(length, '-');

        _OX_DataBuffer plain;
        ASSERT_TRUE(plain.loadFromFile(file(".oxdb"), true)) << plain.errorString().c_str();
        EXPECT_EQ(contentOf(plain), raw);
        EXPECT_EQ(plain.headerValue0, 11);
        EXPECT_EQ(plain.headerValue1, 22);
        EXPECT_EQ(plain.headerValue2, 33);
        plain.crc = 0;
        ASSERT_TRUE(plain.saveToFile(path("again"), true));
        EXPECT_EQ(bytesOf(path("again")), bytesOf(file(".oxdb")));
        _OX_DataBuffer bare;
        ASSERT_TRUE(bare.loadFromFile(file(".raw"), false));
        ASSERT_TRUE(bare.saveToFile(path("again"), false));
        EXPECT_EQ(bytesOf(path("again")), raw);

        _OX_DataBuffer packed;
        ASSERT_TRUE(packed.loadFromFileCompressed(file(".oxzp"), true));
        EXPECT_EQ(contentOf(packed), raw);
        EXPECT_EQ(packed.sizeUncompressed, length);
        EXPECT_EQ(packed.headerValue2, 33);
        EXPECT_EQ(_OX_DataBuffer::loadFromFileCompressedHeader(file(".oxzp"), back.data(), length),
                  0);
        EXPECT_EQ(back, raw);

        back.fill('-');
        EXPECT_EQ(_OX_DataBuffer::compressNLoadFromFile(file(".oxns"), back.data(), length, true),
                  0);
        EXPECT_EQ(back, raw);

        back.fill('-');
        EXPECT_EQ(_OX_DataBuffer::loadGzipFile(file(".gz"), back.data(), unsigned(length), true),
                  0);
        EXPECT_EQ(back, raw);
        for (unsigned const chunk : {7u, unsigned(length), 1u << 20, UINT_MAX}) {
            _OX_DataBuffer grown;
            ASSERT_TRUE(grown.loadGzipFile(file(".gz"), chunk)) << chunk;
            EXPECT_EQ(contentOf(grown), raw);
            EXPECT_EQ(grown.sizeUncompressed, length);
        }
    }
}

TEST_F(DataBufferFile, IsReadByGzipAndPython)
{
    QByteArray raw = bytesOf(golden("binary.raw"));
    int const length = int(raw.size());
    FileName const gz = path("a.gz"), zp = path("b.oxzp"), ns = path("c.oxns");
    ASSERT_EQ(_OX_DataBuffer::saveGzipFile(gz, raw.data(), length), 0);
    ASSERT_EQ(_OX_DataBuffer::saveToFileCompressedHeader(zp, raw.data(), length), 0);
    ASSERT_EQ(_OX_DataBuffer::compressNSaveToFile(ns, raw.data(), length), 0);
    EXPECT_EQ(raw, bytesOf(golden("binary.raw")));
    if (QStandardPaths::findExecutable(QStringLiteral("gzip")).isEmpty() ||
        QStandardPaths::findExecutable(QStringLiteral("python3")).isEmpty())
        GTEST_SKIP() << "the test needs gzip and python3";

    QStringList const decompress = {QStringLiteral("-dc")};
    EXPECT_EQ(outputOf("gzip", decompress + QStringList(QString::fromUtf8(gz.c_str()))), raw);
    QByteArray const zpContent =
        outputOf("gzip", decompress + QStringList(QString::fromUtf8(zp.c_str())));
    EXPECT_EQ(zpContent, "oxZP" + headerOf({0, length, length, 0, 0, 0, 0, 0}) + raw);

    QString const script = QStringLiteral("import struct, sys, zlib\n"
                                          "f = open(sys.argv[1], 'rb').read()\n"
                                          "magic, *words = struct.unpack('<4s4iI3i', f[:36])\n"
                                          "data = f[36:]\n"
                                          "plain = zlib.decompress(data)\n"
                                          "assert (magic, words) == (b'oxDB', [0, len(data), "
                                          "len(plain), 0, zlib.crc32(data), 0, 0, 1])\n"
                                          "sys.stdout.buffer.write(plain)");
    EXPECT_EQ(outputOf("python3", {QStringLiteral("-c"), script, QString::fromUtf8(ns.c_str())}),
              raw);
}

TEST_F(DataBufferFile, RefusesADamagedCompressedFile)
{
    QByteArray const gzip = bytesOf(golden("binary.oxzp"));
    QByteArray flipped = gzip;
    flipped[int(gzip.size()) / 2] = char(flipped[int(gzip.size()) / 2] ^ 0x55);
    struct {
        char const * what;
        FileName file;
        int error;
    } const cases[] = {
        {"flipped byte", write("a", flipped), Z_DATA_ERROR},
        {"cut in the checksum", write("b", gzip.left(int(gzip.size()) - 3)), Z_BUF_ERROR},
        {"ends in the header", writeGzip("c", "oxZP" + QByteArray(31, '\x7F')), 0},
        {"empty", write("d", ""), 0},
    };
    for (auto const & [what, file, error] : cases) {
        for (bool const grow : {true, false}) {
            _OX_DataBuffer buffer;
            buffer.newsize(70001, 768);
            EXPECT_FALSE(buffer.loadFromFileCompressed(file, grow)) << what;
            EXPECT_EQ(buffer.error, error) << what;
        }
    }
}

TEST_F(DataBufferFile, LoadsCompressedDataIntoABlockOfTheCallersSize)
{
    FileName const file = golden("small.oxzp");
    struct {
        int capacity;
        bool result;
        int size;
    } const cases[] = {{27, true, 27}, {26, true, 0}, {28, false, 0}};
    for (auto const & [capacity, result, size] : cases) {
        _OX_DataBuffer buffer;
        buffer.resize(capacity, 768);
        EXPECT_EQ(buffer.loadFromFileCompressed(file, false), result) << capacity;
        EXPECT_EQ(buffer.size, size) << capacity;
        EXPECT_EQ(buffer.error, 0) << "zlib reports no error for a stream that is too short";
    }
    char block[40];
    EXPECT_EQ(_OX_DataBuffer::loadFromFileCompressedHeader(file, block, -1), Z_STREAM_ERROR);
    EXPECT_EQ(_OX_DataBuffer::loadFromFileCompressedHeader(file, nullptr, 5), Z_STREAM_ERROR);

    // The overload of loadFromFileCompressed() for two blocks reports success even if the file is
    // too short for the second block.
    char header[32];
    EXPECT_EQ(_OX_DataBuffer::loadFromFileCompressed(file, true, header, 32, block, 40), 0);
    EXPECT_EQ(_OX_DataBuffer::loadFromFileCompressed(file, true, header, -1, nullptr, 0),
              Z_STREAM_ERROR);
}

TEST_F(DataBufferFile, ReadsAndWritesTwoBlocks)
{
    using Save = decltype(static_cast<int (*)(FileName, bool const &, char *, int const &, char *,
                                              int const &)>(&_OX_DataBuffer::saveToFile));
    struct {
        Save save;
        Save load;
    } const formats[] = {
        {&_OX_DataBuffer::saveToFile, &_OX_DataBuffer::loadFromFile},
        {&_OX_DataBuffer::saveToFileCompressed, &_OX_DataBuffer::loadFromFileCompressed},
    };
    char one[] = "frame", two[] = "range";
    for (auto const & [save, load] : formats) {
        FileName const file = path("blocks");
        char a[6] = "", b[6] = "";
        EXPECT_EQ(save(file, true, one, 5, two, 5), 0);
        EXPECT_EQ(load(file, true, a, 5, b, 5), 0);
        EXPECT_STREQ(a, one);
        EXPECT_STREQ(b, two);
        EXPECT_EQ(save(file, false, one, 5, nullptr, -1), 0);
        EXPECT_EQ(load(file, false, b, 5, nullptr, 99), 0);
        EXPECT_STREQ(b, one);
        EXPECT_EQ(load(file, false, b, 3, two, -1), 0) << "later bytes are ignored";

        EXPECT_EQ(save(file, true, one, -1, nullptr, 0), NotWritten);
        EXPECT_EQ(save(file, true, one, 5, two, -1), NotWritten);
        EXPECT_EQ(save(file, true, nullptr, 5, nullptr, 0), NotWritten);
        EXPECT_EQ(load(file, false, a, 5, nullptr, 0), 0) << "a refused save keeps the file";
    }
    FileName const file = write("plain", "oxDBx");
    EXPECT_EQ(_OX_DataBuffer::loadFromFile(file, true, one, 2, nullptr, 0), EndOfFile);
    EXPECT_EQ(_OX_DataBuffer::loadFromFile(file, true, one, -1, nullptr, 0), EndOfFile);
}

TEST_F(DataBufferFile, KeepsItsLengthArgumentWhenTheHeaderOverwritesIt)
{
    // The length of the second block is passed as a reference to buffer.size. Loading the first
    // block overwrites buffer.size.
    FileName const file =
        write("lying", "oxDB" + headerOf({0, 1000, 0, 0, 0, 0, 0, 0}) + QByteArray(2000, 'x'));
    _OX_DataBuffer buffer;
    buffer.newsize(10, 768);
    buffer.size = 10;
    char * const header = reinterpret_cast<char *>(&buffer);
    EXPECT_EQ(_OX_DataBuffer::loadFromFile(file, true, header, 32, buffer.data, buffer.size), 0);
    EXPECT_EQ(buffer.size, 1000);
    EXPECT_FALSE(buffer.saveToFile(file, true));
    EXPECT_EQ(buffer.error, NotWritten);
    EXPECT_FALSE(buffer.saveToFileCompressed(file));
    EXPECT_EQ(buffer.error, NotWritten);
    EXPECT_EQ(bytesOf(file).size(), 2036) << "a refused save keeps the file";
}

TEST_F(DataBufferFile, DistinguishesMissingUnreadableAndUnwritableFiles)
{
    char block[40] = "";
    for (FileName const & absent : {path("absent"), path("")}) {
        _OX_DataBuffer buffer;
        EXPECT_FALSE(buffer.loadFromFile(absent, true));
        EXPECT_EQ(buffer.error, Missing);
        EXPECT_TRUE(buffer.loadFromFileCompressed(absent, true));
        EXPECT_EQ(buffer.size, 0);
        EXPECT_EQ(_OX_DataBuffer::loadFromFileCompressedHeader(absent, block, 9), 0);
        EXPECT_EQ(_OX_DataBuffer::compressNLoadFromFile(absent, block, 9, false), Missing);
    }
    _OX_DataBuffer buffer;
    EXPECT_FALSE(buffer.loadGzipFile(path("absent"), 100));
    EXPECT_EQ(buffer.error, NotReadable);
    EXPECT_EQ(_OX_DataBuffer::loadGzipFile(path("absent"), block, 9, false), NotReadable);
    EXPECT_EQ(_OX_DataBuffer::loadFromFile(path("absent"), false, block, 9, nullptr, 0), NotOpened);
    EXPECT_EQ(_OX_DataBuffer::loadFromFileCompressed(path("absent"), false, block, 9, nullptr, 0),
              NotReadable);

    FileName const nowhere = path("no/such/folder");
    EXPECT_FALSE(buffer.saveToFile(nowhere, true));
    EXPECT_EQ(buffer.error, NotOpened);
    EXPECT_FALSE(buffer.saveToFileCompressed(nowhere));
    EXPECT_EQ(buffer.error, NotOpened);
    EXPECT_EQ(_OX_DataBuffer::saveGzipFile(nowhere, block, 9), NotReadable);
    EXPECT_EQ(_OX_DataBuffer::compressNSaveToFile(nowhere, block, 9), 0);

    if (!QFile::exists(QStringLiteral("/dev/full")))
        GTEST_SKIP() << "the test needs /dev/full";
    EXPECT_FALSE(buffer.saveToFile("/dev/full", true));
    EXPECT_EQ(buffer.error, NotWritten);
    EXPECT_EQ(_OX_DataBuffer::saveGzipFile("/dev/full", block, 9), Z_ERRNO);
}

TEST_F(DataBufferFile, DoesNotWaitForAPipe)
{
    QString const pipe = folder_.filePath(text("pipe"));
    if (!runProgram(text("mkfifo"), {pipe}).hasSucceeded())
        GTEST_SKIP() << "the test needs the program mkfifo";
    _OX_DataBuffer buffer;
    EXPECT_FALSE(buffer.loadFromFile(path("pipe"), true));
    EXPECT_EQ(buffer.error, Corrupt);
    EXPECT_FALSE(buffer.loadFromFileCompressed(path("pipe"), true));
    EXPECT_EQ(buffer.error, NotReadable);
    EXPECT_FALSE(buffer.loadGzipFile(path("pipe"), 100));
    EXPECT_EQ(buffer.error, NotReadable);
    char block[] = "abc";
    EXPECT_EQ(_OX_DataBuffer::loadFromFile(path("pipe"), false, block, 3, nullptr, 0), NotOpened);
    // Saving to a pipe fails, too, even if a process reads from the pipe.
    Child const reader(text("cat"), {pipe});
    EXPECT_EQ(_OX_DataBuffer::saveToFile(path("pipe"), false, block, 3, nullptr, 0), NotOpened);
    EXPECT_EQ(_OX_DataBuffer::saveToFileCompressed(path("pipe"), false, block, 3, nullptr, 0),
              NotOpened);
}

TEST_F(DataBufferFile, RequiresTheExactLengthOnRequest)
{
    char block[40];
    QByteArray raw = bytesOf(golden("small.raw"));
    FileName const file = path("exact");
    ASSERT_EQ(_OX_DataBuffer::compressNSaveToFile(file, raw.data(), 27), 0);
    for (int const length : {26, 28})
        EXPECT_EQ(_OX_DataBuffer::compressNLoadFromFile(file, block, length, true), WrongLength);
    EXPECT_EQ(_OX_DataBuffer::compressNLoadFromFile(file, block, 26, false), Z_BUF_ERROR);
    EXPECT_EQ(_OX_DataBuffer::compressNLoadFromFile(file, block, 28, false), WrongLength);
    EXPECT_EQ(_OX_DataBuffer::compressNLoadFromFile(file, block, 27, true), 0);
    // The stored sizeUncompressed equals an error code. Loading the file must not report success.
    _OX_DataBuffer wrongLength;
    ASSERT_TRUE(wrongLength.loadFromFile(file, true));
    wrongLength.sizeUncompressed = WrongLength;
    ASSERT_TRUE(wrongLength.saveToFile(file, true));
    EXPECT_EQ(_OX_DataBuffer::compressNLoadFromFile(file, block, 27, false), WrongLength);

    FileName const gz = golden("small.gz");
    for (unsigned const length : {26u, 28u})
        EXPECT_EQ(_OX_DataBuffer::loadGzipFile(gz, block, length, false), 0);
    EXPECT_EQ(_OX_DataBuffer::loadGzipFile(gz, nullptr, 28, false), Z_STREAM_ERROR);
}

TEST_F(DataBufferFile, StopsAtTheMemoryLimit)
{
    // loadGzipFile() loads the bytes unchanged if the file has no gzip header.
    QString const name = writeFile(folder_.filePath(text("large")), {});
    qint64 const limit = 768 << 20;
    _OX_DataBuffer buffer;
    ASSERT_TRUE(QFile::resize(name, limit + 1));
    EXPECT_FALSE(buffer.loadGzipFile(fileName(name), 500u << 20));
    EXPECT_EQ(buffer.error, OutOfMemory);
    EXPECT_EQ(buffer.size, 0);
    EXPECT_FALSE(buffer.loadFromFile(fileName(name), false));
    EXPECT_EQ(buffer.error, OutOfMemory);
    ASSERT_TRUE(QFile::resize(name, limit));
    EXPECT_TRUE(buffer.loadGzipFile(fileName(name), 500u << 20));
    EXPECT_EQ(buffer.size, limit);
}
