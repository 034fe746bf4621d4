#include "shared/data/data_buffer.h"
#include "shared/fs/file.h"
#include "shared/system/environment.h"
#include "shared/system/os_error.h"
#include "tests/fs/log_lines.h"
#include "tests/support/file_content.h"
#include "tests/support/shell.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QTemporaryDir>

#include <cerrno>
#include <thread>

#include <unistd.h>

using namespace ox::tests;

using FileOnLinux = FolderTest;

TEST_F(FileOnLinux, ReportsWhyItCannotDelete)
{
    QString const undeletable = text("/proc/version");
    int const code = QFileInfo(text("/proc")).isWritable() ? EPERM : EACCES;
    QString const expected = text("Unable to delete file, ") + QString(oxLastOSError(code));
    EXPECT_EQ(QString(oxDeleteFile(_oxString<500>(undeletable))), expected);
    EXPECT_EQ(oxDeleteFile(undeletable), expected + u'.');
}

TEST_F(FileOnLinux, KeepsTimeAndExecutableRightsOnAnotherFileSystem)
{
    QTemporaryDir other(text("/dev/shm/ox_XXXXXX"));
    if (!other.isValid() ||
        QStorageInfo(other.path()).device() == QStorageInfo(folder.path()).device())
        GTEST_SKIP() << "the test needs a second file system";
    QByteArray const content(3000000, 'm');
    QString const from = writeFile(path("a"), content);
    QString const to = other.filePath(text("a"));
    _oxTime stamp(std::int64_t{1600000000}, true);
    ASSERT_TRUE(oxSetFileTime(from, &stamp));
    EXPECT_EQ(setExecutable_Rights(from, true), QString());
    EXPECT_EQ(setExecutable_Rights(path("none"), false),
              text("Unable to set executable rights, ") + QString(oxLastOSError(ENOENT)));
    EXPECT_FALSE(oxRenameFile(from, other.filePath(text("none/a")), false));
    EXPECT_EQ(contentOf(from), content);
    EXPECT_TRUE(oxRenameFile(from, to, false));
    EXPECT_FALSE(QFile::exists(from));
    EXPECT_EQ(contentOf(to), content);
    EXPECT_EQ(QFileInfo(to).lastModified().toSecsSinceEpoch(), stamp.value);
    auto const all = QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther;
    EXPECT_EQ(QFile::permissions(to) & all, all);
}

TEST_F(FileOnLinux, ReportsHowMuchWasWrittenBeforeAFailure)
{
    // The file size limit of 9216 KiB allows two pieces of 4 MiB and a part of the third piece.
    Shell const shell(QStringLiteral(OX_TEST_CHILD));
    ProgramRun const run = shell.run("trap '' XFSZ; ulimit -f 18432; exec \"$0\" \"$@\"",
                                     {text("write"), path("a"), text("11000000")});
    ASSERT_TRUE(run.hasEnded);
    EXPECT_EQ(QString::fromLatin1(run.output).trimmed(),
              text("Unable to write 2611392b (8388608/11000000 done): ") +
                  QString(oxLastOSError(EFBIG)));
    EXPECT_GE(QFileInfo(path("a")).size(), 8388608);
}

TEST_F(FileOnLinux, ReadsFromAPipeThatIsOpenAlready)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    std::thread writer([end = ends[1]] {
        oxSleep(50);
        EXPECT_EQ(::write(end, "abc", 3), 3);
        ::close(end);
    });
    char block[] = "---";
    _oxString8_evenSize<500> name("/dev/fd/");
    EXPECT_EQ(_OX_DataBuffer::loadFromFile(name.addNr(ends[0]), false, block, 3, nullptr, 0), 0);
    writer.join();
    ::close(ends[0]);
    EXPECT_STREQ(block, "abc");
}

TEST_F(FileOnLinux, NeverOverwritesAFileByItsOwnLink)
{
    QString const a = writeFile(path("a"));
    ASSERT_TRUE(QFile::link(a, path("link")));
    EXPECT_FALSE(oxRenameFile(path("link"), a, true));
    EXPECT_EQ(contentOf(a), "content");
    EXPECT_TRUE(oxRenameFile(a, path("link"), true)) << "the link is replaced";
    EXPECT_FALSE(QFile::exists(a));
    EXPECT_EQ(contentOf(path("link")), "content");

    ASSERT_EQ(::link(path("link").toUtf8().constData(), a.toUtf8().constData()), 0);
    EXPECT_TRUE(oxRenameFile(path("link"), folder.path() + text("/./link"), true));
    EXPECT_TRUE(oxRenameFile(path("link"), a, true)) << "one of two hard links is deleted";
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), QStringList(text("a")));
    EXPECT_EQ(contentOf(a), "content");
}

TEST_F(FileOnLinux, LogLinesOfSeveralProcessesDoNotMix)
{
    expectLogLinesDoNotMix(path("log"));
}
