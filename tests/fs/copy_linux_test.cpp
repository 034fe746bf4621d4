// Tests of copies in which the disk is full, or a read or write fails.

#include "shared/fs/copy.h"
#include "shared/system/os_error.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace ox::tests;

namespace
{

class CopyOnLinux : public FolderTest
{
  protected:
    QString const from = path("a");
    QString const to = path("b");
};

} // namespace

TEST_F(CopyOnLinux, KeepsPermissionBitsAndFollowsNoLink)
{
    writeFile(from);
    ASSERT_TRUE(QFile::setPermissions(from, QFile::ReadOwner | QFile::ExeOwner | QFile::ExeOther));
    EXPECT_EQ(oxCopyFile(from, to, true, -1), QString());
    EXPECT_EQ(QFile::permissions(to), QFile::permissions(from));
    QFile::remove(to);
    ASSERT_TRUE(QFile::link(path("none"), to));
    EXPECT_EQ(oxCopyFile(from, to, false, -1), QString(oxLastOSError(EEXIST)));
    EXPECT_FALSE(QFile::exists(path("none")));
    QFile::remove(to);
    ASSERT_TRUE(QFile::link(from, to));
    EXPECT_EQ(oxCopyFile(to, from, true, -1), QString(oxLastOSError(EEXIST)));
    EXPECT_EQ(contentOf(from), "content");
}

TEST_F(CopyOnLinux, NeitherWaitsAtAPipeNorReplacesIt)
{
    ASSERT_EQ(::mkfifo(from.toUtf8().constData(), 0600), 0);
    QString const refusal = oxLastOSError(ENOTSUP);
    QString const bare = refusal.mid(refusal.indexOf(u':') + 2).chopped(1);
    bool limitReported = false;
    EXPECT_EQ(oxCopyFile(from, to, true, -1), refusal);
    EXPECT_EQ(oxCopyFile(from, to, true, 0), text("Unable to open input file."));
    EXPECT_EQ(oxResumeFile(from, to, limitReported), refusal);
    writeFile(to, {});
    EXPECT_EQ(oxResumeFile(from, to, limitReported), text("Cannot open source file;") + bare);
    EXPECT_EQ(oxResumeFile(writeFile(to), from, limitReported),
              text("Cannot open dest. file;") + bare);
}

TEST_F(CopyOnLinux, KeepsTheHolesOfItsSource)
{
    constexpr int mebibyte = 1 << 20;
    for (qint64 const behind : {0, 10}) {
        QFile file(from);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        for (qint64 const at : {0, 20 * mebibyte, 50 * mebibyte}) {
            file.seek(at);
            file.write(QByteArray(5000, 'x'));
        }
        file.resize(60 * mebibyte + behind);
        file.close();
        QFile::remove(to);
        EXPECT_EQ(oxCopyFile(from, to, true, -1), QString());
        EXPECT_TRUE(contentOf(to) == contentOf(from));
        struct stat source;
        struct stat copy;
        ASSERT_EQ(::stat(from.toUtf8().constData(), &source), 0);
        ASSERT_EQ(::stat(to.toUtf8().constData(), &copy), 0);
        EXPECT_LE(copy.st_blocks, source.st_blocks + 64);
    }
}

TEST_F(CopyOnLinux, AppendsTheWrittenBytesToTheBuffer)
{
    writeFile(from, "1234567890");
    writeFile(to, "123");
    auto const onFullDisk = std::signal(SIGXFSZ, SIG_IGN);
    rlimit old;
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
    rlimit const limit = {5, old.rlim_max};
    _OX_DataBuffer added;
    bool limitReported = false;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    QString const failure = oxResumeFile(from, to, limitReported, &added);
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, onFullDisk);
    EXPECT_EQ(failure, text("Unable to write data"));
    EXPECT_EQ(oxResumeFile(from, to, limitReported, &added), QString());
    EXPECT_EQ(contentOf(to), "1234567890");
    EXPECT_EQ(QByteArray(added.data, added.size), "4567890");
}

TEST_F(CopyOnLinux, ReadsFromFileSystemsWithoutSizesAndCopying)
{
    for (int const pauseMs : {-1, 0}) {
        EXPECT_EQ(oxCopyFile(text("/proc/version"), to, true, pauseMs), QString());
        EXPECT_EQ(contentOf(to), contentOf(text("/proc/version")));
    }
}

TEST_F(CopyOnLinux, ReportsASourceThatIsShorterThanItsSize)
{
    QString const lying = text("/sys/kernel/mm/transparent_hugepage/enabled");
    if (QFileInfo(lying).size() != 4096)
        GTEST_SKIP() << "no system file is shorter than its reported size";
    bool limitReported = false;
    writeFile(to, {});
    EXPECT_EQ(oxResumeFile(lying, to, limitReported),
              text("Unable to read all data  %1 != 4096-0").arg(contentOf(lying).size()));
}
