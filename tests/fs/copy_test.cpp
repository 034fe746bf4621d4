#include "shared/fs/copy.h"
#include "shared/fs/file.h"
#include "shared/system/os_error.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"
#include "tests/support/this_build.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <thread>

using namespace ox::tests;

namespace
{

constexpr int mebibyte = 1024 * 1024;
constexpr int bySystem = -1;
constexpr int byPieces = 0;

QByteArray bytes(int size)
{
    QByteArray result(size, '\0');
    for (int i = 0; i < size; ++i)
        result[i] = static_cast<char>(i * 7 + i / 256 + 1);
    return result;
}

void extend(QString const & name, QByteArray const & more)
{
    QFile file(name);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write(more);
}

/// A test with the paths of a source and a target, and with the state that oxResumeFile keeps
/// between two calls.
class Copy : public FolderTest
{
  protected:
    QString resume(_OX_DataBuffer * added = nullptr)
    {
        return oxResumeFile(from, to, limitReported, added);
    }

    QString const from = path("a");
    QString const to = path("b");
    bool limitReported = false;
};

using Resume = Copy;

} // namespace

TEST_F(Copy, HasTheContentAndTheTimeOfItsSource)
{
    for (int const size : {0, 1, mebibyte, 2 * mebibyte + 3}) {
        for (int const pauseMs : {bySystem, byPieces, 1}) {
            QByteArray const content = bytes(size);
            writeFile(from, content);
            writeFile(to, bytes(size + 9));
            _oxTime stamp(std::int64_t{1500000000} + size, true);
            ASSERT_TRUE(oxSetFileTime(from, &stamp));
            EXPECT_EQ(oxCopyFile(from, to, true, pauseMs), QString());
            EXPECT_EQ(contentOf(to), content) << size << ' ' << pauseMs;
            EXPECT_EQ(QFileInfo(to).lastModified().toSecsSinceEpoch(), stamp.value)
                << size << ' ' << pauseMs;
        }
    }
}

TEST_F(Copy, SkipsAnExistingTarget)
{
    writeFile(to, "old");
    EXPECT_EQ(oxCopyFile(from, to, false, byPieces), QString());
    writeFile(from);
    EXPECT_EQ(oxCopyFile(from, to, false, bySystem), QString());
    EXPECT_EQ(contentOf(to), "old");
}

TEST_F(Copy, ReportsWhatIsMissing)
{
    QString const nowhere = folder.filePath(text("none/b"));
    int const missingFolder = isWindows ? 3 : ENOENT;
    for (QString const & source : {from, folder.path()})
        EXPECT_EQ(oxCopyFile(source, to, true, bySystem), text("Source file does not exist."));
    writeFile(from);
    EXPECT_EQ(oxCopyFile(from, nowhere, true, bySystem), QString(oxLastOSError(missingFolder)));
    EXPECT_EQ(oxCopyFile(from, nowhere, true, byPieces), text("Unable to open output file."));
    EXPECT_EQ(oxCopyFile(from, folder.path(), true, byPieces), text("Unable to open output file."));
    EXPECT_NE(oxCopyFile(from, folder.path(), true, bySystem), QString());
    EXPECT_FALSE(QFile::exists(to));
}

TEST_F(Copy, RefusesItsOwnSourceAsTarget)
{
    writeFile(from, "precious");
    std::filesystem::create_hard_link(from.toStdU16String(), to.toStdU16String());
    QString const refusal = oxLastOSError(isWindows ? 32 : EEXIST);
    for (int const pauseMs : {bySystem, byPieces}) {
        EXPECT_EQ(oxCopyFile(from, from, true, pauseMs), refusal);
        EXPECT_EQ(oxCopyFile(from, to, true, pauseMs), refusal);
        EXPECT_EQ(contentOf(from), "precious");
    }
}

TEST_F(Copy, ReportsWhetherTheLastPieceEndsInZeros)
{
    // The character "0" in these texts stands for a zero byte.
    std::pair<char const *, bool> const cases[] = {{"0", true},
                                                   {"x", false},
                                                   {"xxxxxxxxx0", true},
                                                   {"xxxxxxxxxx0", false},
                                                   {"x0xxxxxxxx0", false},
                                                   {"x0xx0xxxxx0", true}};
    for (auto const & [form, expected] : cases) {
        QByteArray const piece = QByteArray(form).replace('0', '\0');
        for (QByteArray const & content : {piece, QByteArray(mebibyte, '\0') + piece}) {
            bool endsEmpty = !expected;
            oxCopyFile(writeFile(from, content), to, true, byPieces, &endsEmpty);
            EXPECT_EQ(endsEmpty, expected) << form;
        }
    }
    bool endsEmpty = false;
    oxCopyFile(writeFile(from, QByteArray(20, '\0')), to, true, bySystem, &endsEmpty);
    EXPECT_FALSE(endsEmpty);
}

TEST_F(Resume, AppendsTheNewBytesOfTheSource)
{
    QByteArray const content = bytes(mebibyte + 5);
    writeFile(from, content.left(1000));
    EXPECT_EQ(resume(), QString()); // no target exists, so the call copies the whole file
    extend(from, content.mid(1000));
    _OX_DataBuffer added;
    ASSERT_TRUE(added.append(const_cast<char *>("kept "), 5));
    EXPECT_EQ(resume(&added), QString());
    EXPECT_EQ(contentOf(to), content);
    EXPECT_EQ(contentOf(added), "kept " + content.mid(1000));
    EXPECT_EQ(resume(&added), QString());
    EXPECT_EQ(contentOf(to), content);
    EXPECT_EQ(added.size, content.size() - 1000 + 5);
}

TEST_F(Resume, CopiesARestartedLogCompletely)
{
    writeFile(from, "again");
    _OX_DataBuffer added;
    ASSERT_TRUE(added.append(const_cast<char *>("of the run before"), 17));
    for (_OX_DataBuffer * const buffer : {static_cast<_OX_DataBuffer *>(nullptr), &added}) {
        writeFile(to, "longer than before");
        EXPECT_EQ(resume(buffer), QString());
        EXPECT_EQ(contentOf(to), "again");
    }
    EXPECT_EQ(contentOf(added), "again");
}

TEST_F(Resume, SkipsLargeLogsAndReportsThemOnce)
{
    writeFile(from, bytes(100));
    writeFile(to, bytes(100));
    ASSERT_TRUE(QFile::resize(from, 25 * mebibyte));
    EXPECT_EQ(resume(), QString());
    EXPECT_EQ(QFileInfo(to).size(), 25 * mebibyte);
    extend(from, "x");
    EXPECT_EQ(resume(), text("Log file larger than 25 MB, stopping copy to oxShare."));
    EXPECT_TRUE(limitReported);
    EXPECT_EQ(resume(), QString());
    EXPECT_EQ(QFileInfo(to).size(), 25 * mebibyte);

    QFile::remove(to); // the limit applies only to an existing target
    EXPECT_EQ(resume(), QString());
    EXPECT_EQ(QFileInfo(to).size(), 25 * mebibyte + 1);
}

TEST_F(Resume, ReportsItsFailures)
{
    EXPECT_EQ(resume(), text("Source file does not exist"));
    writeFile(from, "12345");
    _OX_DataBuffer added;
    EXPECT_NE(oxResumeFile(from, folder.path(), limitReported, &added), QString());
    writeFile(to, {});
    added.size = 768 * mebibyte;
    EXPECT_EQ(resume(&added),
              text("Unable to append data.  Buffer data: 805306368 memsize: %1 addsize: 5")
                  .arg(added.sizeAllocated));
    EXPECT_EQ(contentOf(to), QByteArray());
}

TEST_F(Resume, CopiesEveryByteOfAGrowingSourceOnce)
{
    writeFile(from, {});
    writeFile(to, {});
    QByteArray const content = bytes(3 * mebibyte);
    std::atomic<bool> written = false;
    std::thread writer([&] {
        QFile log(from); // keeps the file open, like a renderer
        ASSERT_TRUE(log.open(QIODevice::Append | QIODevice::Unbuffered));
        for (int at = 0; at < content.size(); at += 4099)
            log.write(content.constData() + at, std::min(4099, int(content.size()) - at));
        written = true;
    });
    _OX_DataBuffer added;
    for (bool last = false; !last;) {
        last = written;
        EXPECT_EQ(resume(&added), QString());
    }
    writer.join();
    EXPECT_TRUE(contentOf(to) == content);
    EXPECT_TRUE(contentOf(added) == content);
}
