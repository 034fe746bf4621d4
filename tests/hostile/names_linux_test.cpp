// Another user has created links, pipes, sockets, devices and folders with the names that a process
// uses. Operations on these names do not hang, follow no link, and report the documented error.

#include "shared/fs/access_rights.h"
#include "shared/fs/copy.h"
#include "shared/fs/file.h"
#include "shared/fs/file_locker.h"
#include "shared/fs/file_sync.h"
#include "shared/platform/new_file.h"
#include "shared/system/os_error.h"
#include "shared/system/shared_memory.h"
#include "shared/text/native_path.h"
#include "tests/hostile/neighbour_linux.h"
#include "tests/support/file_content.h"
#include "tests/support/text.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace ox::tests;

namespace
{

/// A kind of object that another user has created under the name of a file, and the errno that
/// operations on this name must report; 0 means success.
struct Planted {
    Kind kind;
    int write;   ///< errno of functions that write to a file, called by root
    int change;  ///< errno of functions that change permissions or times, called by root
    int append;  ///< errno of oxResumeFile, called by root
    int copy;    ///< errno of oxCopyFile
    int segment; ///< errno of oxSharedMemory
};

constexpr Planted allPlanted[] = {
    {Kind::FileLink, EACCES, EACCES, EACCES, 0, ELOOP},
    {Kind::NewFileLink, EACCES, EACCES, 0, 0, ELOOP},
    {Kind::FolderLink, EACCES, EACCES, 0, 0, ELOOP},
    {Kind::Folder, EISDIR, 0, EISDIR, EISDIR, EISDIR},
    {Kind::Pipe, ENXIO, 0, ENOTSUP, ENOTSUP, EACCES},
    {Kind::Socket, ENXIO, 0, ENOTSUP, ENOTSUP, ENXIO},
    {Kind::Device, ENOSPC, 0, ENOTSUP, ENOTSUP, EACCES},
};

class HostileName : public NeighbourTest
{
  protected:
    /// Runs a test for each kind of object. The test has to create the object.
    template <typename Test>
    static void withEach(Test const & test)
    {
        for (Planted const & planted : allPlanted) {
            SCOPED_TRACE(static_cast<int>(planted.kind));
            if (planted.kind != Kind::Device || isRoot())
                test(planted);
        }
    }

    /// Replaces the entry at the path by an object of this kind.
    void renew(QString const & path, Kind kind) const
    {
        std::filesystem::remove_all(path.toStdString());
        plant(path, kind);
    }

    /// Returns 0, or the thread's last error if the call failed.
    static int codeOf(bool succeeded) { return succeeded ? 0 : errno; }

    QString const target = inside("target");
};

TEST_F(HostileName, IsNeitherFollowedNorWaitedFor)
{
    if (!isRoot())
        GTEST_SKIP() << needsRoot;
    unsigned char bytes[] = "bytes";
    _oxTime time(__int64{1'000'000}, true);
    withEach([&](Planted const & planted) {
        renew(target, planted.kind);
        EXPECT_EQ(codeOf(writeToLogFile(target, "line", false, false)), planted.write);
        EXPECT_EQ(codeOf(writeToLogFile(target, "line", true, false)), planted.write);
        EXPECT_EQ(codeOf(oxWriteBufferToFile(target, bytes, 5).isEmpty()), planted.write);
        EXPECT_EQ(codeOf(oxSetFileRights_ReadWriteExecuteAll(target)), planted.change);
        EXPECT_EQ(codeOf(setExecutable_Rights(target, false).isEmpty()), planted.change);
        EXPECT_EQ(codeOf(oxSetFileTime(target, &time)), planted.change);
        EXPECT_EQ(codeOf(oxSetFileTime(target, nullptr)), planted.change);
        EXPECT_TRUE(isStill(target, planted.kind));
    });
}

TEST_F(HostileName, IsReplacedByACopyOrRefused)
{
    QString const source = writeFile(path("source"), "the content of root");
    withEach([&](Planted const & planted) {
        auto const expectResult = [&](QString const & failure, int code) {
            QString const message = QString::fromLatin1(code == 0 ? "" : std::strerror(code));
            EXPECT_EQ(failure.isEmpty(), code == 0);
            EXPECT_TRUE(failure.contains(message)) << failure.toStdString();
            EXPECT_TRUE(isStill(target, code == 0 ? Kind::File : planted.kind));
        };
        renew(target, planted.kind);
        expectResult(oxCopyFile(source, target, true, -1), planted.copy);
        if (planted.copy == 0) {
            EXPECT_EQ(contentOf(target), contentOf(source));
            renew(target, planted.kind);
            expectResult(oxCopyFile(source, target, true, 0), 0);
        }
        renew(target, planted.kind);
        bool const isSynced = syncCopy(source, target, false, nullptr, nullptr, -1, false);
        expectResult(text(isSynced ? "" : std::strerror(EISDIR)),
                     planted.kind == Kind::Folder ? EISDIR : 0);
        bool limitReported = false;
        renew(target, planted.kind);
        if (isRoot())
            expectResult(oxResumeFile(source, target, limitReported), planted.append);
    });
}

TEST_F(HostileName, IsFollowedIfItIsALinkOfTheSameUser)
{
    writeFile(path("own"), {});
    int const file = ::open(path("own").toUtf8().constData(), O_RDONLY);
    ASSERT_EQ(::symlink("../own", target.toUtf8().constData()), 0);
    EXPECT_TRUE(writeToLogFile(target, "by a link", false, false));
    EXPECT_TRUE(writeToLogFile(u"/proc/self/fd/%1"_q.arg(file), "by a number", false, false));
    EXPECT_EQ(setExecutable_Rights(target, false), QString());
    EXPECT_TRUE(oxSetFileTime(target, nullptr));
    ::close(file);
    EXPECT_EQ(contentOf(path("own")), "by a link\nby a number\n");
    EXPECT_TRUE(QFile::permissions(path("own")) & QFile::ExeOther);
    EXPECT_TRUE(isStill(target, Kind::FileLink));
}

// A stale lock that is a pipe or a device is removed like a stale lock file. A link, a folder or a
// socket stays until a person removes it.
TEST_F(HostileName, OfALockFileCountsAsAHeldLock)
{
    QString const lockName = inside("target_lock.txt");
    timespec const old[] = {{1000, 0}, {1000, 0}};
    withEach([&](Planted const & planted) {
        renew(lockName, planted.kind);
        _oxFileLocker locker(target);
        int waited = 0;
        EXPECT_FALSE(locker.lock(0, u"root"_q, &waited, false));
        EXPECT_EQ(waited, 250);
        EXPECT_TRUE(locker.status().exists);
        EXPECT_TRUE(isStill(lockName, planted.kind));
        ASSERT_EQ(::utimensat(AT_FDCWD, lockName.toUtf8().constData(), old, AT_SYMLINK_NOFOLLOW),
                  0);
        EXPECT_TRUE(locker.status().isStale);
        bool const goes = planted.kind == Kind::Pipe || planted.kind == Kind::Device;
        EXPECT_EQ(locker.lock(0, u"root"_q, nullptr, false), goes);
        EXPECT_TRUE(isStill(lockName, goes ? Kind::File : planted.kind));
    });
}

TEST_F(HostileName, OfASegmentIsLeftAlone)
{
    std::string const key = "hostile" + std::to_string(QCoreApplication::applicationPid());
    QString const object = QString::fromStdString("/dev/shm/GlobalOX_" + key + "_1234567");
    withEach([&](Planted const & planted) {
        renew(object, planted.kind);
        std::string const text = oxLastOSError8(planted.segment).c_str();
        oxSharedMemory memory(key.c_str());
        EXPECT_FALSE(memory.create(100, true, false));
        EXPECT_EQ(memory.error(), planted.segment);
        EXPECT_EQ(memory.errorString().view() == "Create: " + text, planted.segment != EACCES);
        EXPECT_FALSE(memory.attach());
        EXPECT_EQ(memory.error(), planted.segment);
        EXPECT_EQ(memory.errorString().view(), "OpenFileMappingA: " + text);
        EXPECT_TRUE(isStill(object, planted.kind));
        std::filesystem::remove_all(object.toStdString());
    });
}

TEST_F(HostileName, OfATemporaryFileIsNeitherFollowedNorWaitedFor)
{
    using ox::platform::NewFile;
    auto const create = [](NewFile & file, QString const & name) {
        ASSERT_TRUE(file.open(ox::text::nativePath(name), NewFile::Links::Replaced));
        ASSERT_TRUE(file.create(NewFile::Access::Owner));
    };
    NewFile first;
    create(first, path("target"));
    QStringList const names =
        QDir(folder.path()).entryList({u".oxshared-*"_q}, QDir::Hidden | QDir::Files);
    ASSERT_EQ(names.size(), 1);
    auto const nameOf = [&](Kind kind) { // a temporary name with the id of a process that has ended
        return inside("") + names[0].left(19) +
               u"7fffffff-0000000%1.tmp"_q.arg(static_cast<int>(kind));
    };
    plant(nameOf(Kind::File), Kind::File);
    withEach([&](Planted const & planted) { plant(nameOf(planted.kind), planted.kind); });
    NewFile second;
    create(second, target);
    EXPECT_FALSE(isStill(nameOf(Kind::File), Kind::File))
        << "a temporary file of an ended process is removed";
    withEach(
        [&](Planted const & planted) { EXPECT_TRUE(isStill(nameOf(planted.kind), planted.kind)); });
    NewFile third;
    create(third, path("other target"));
    EXPECT_TRUE(QFileInfo::exists(folder.path() + u'/' + names[0]))
        << "the temporary file of a running process stays";
}

} // namespace
