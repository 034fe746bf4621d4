#include "shared/fs/file.h"

#include "shared/system/os_error.h"
#include "tests/fs/support.h"

#include <QFileInfo>
#include <QStorageInfo>

#include <cerrno>

using FileOnLinux = FolderTest;

TEST_F(FileOnLinux, IsFoundUnderTheUtf8OfItsName)
{
    QString const name = make(path("f\xc3\xa9\xd0\xb6.bin")); // "fé" and a Cyrillic letter
    EXPECT_TRUE(
        oxFileExists(_oxString8_evenSize<500>(name.toUtf8().constData()), nullptr, nullptr));
}

TEST_F(FileOnLinux, SaysWhyItCannotDelete)
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
        GTEST_SKIP() << "there is only one file system";
    QByteArray const content(3000000, 'm');
    QString const from = make(path("a"), content);
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

TEST_F(FileOnLinux, SaysHowMuchWasWrittenBeforeAFailure)
{
    // The limit of 9216 KiB lets two pieces and a part of the third through.
    QProcess process;
    process.start(text("sh"),
                  {text("-c"), text("trap '' XFSZ; ulimit -f 18432; exec \"$0\" \"$@\""),
                   text(OX_TEST_CHILD), text("write"), path("a"), text("11000000")});
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(QString::fromLatin1(process.readAllStandardOutput()).trimmed(),
              text("Unable to write 2611392b (8388608/11000000 done): ") +
                  QString(oxLastOSError(EFBIG)));
    EXPECT_GE(QFileInfo(path("a")).size(), 8388608);
}

TEST_F(FileOnLinux, TellsThatTheDiskIsFull)
{
    unsigned char bytes[10] = {};
    EXPECT_EQ(oxWriteBufferToFile(text("/dev/full"), bytes, 10),
              text("Unable to write 10b (0/10 done): ") + QString(oxLastOSError(ENOSPC)));
    EXPECT_FALSE(writeToLogFile("/dev/full", "no", false, false));
}

TEST_F(FileOnLinux, LogLinesOfSeveralProcessesDoNotMix)
{
    expectLogLinesDoNotMix(path("log"));
}
