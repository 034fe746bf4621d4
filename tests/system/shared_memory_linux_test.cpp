#include "shared/system/os_error.h"
#include "tests/support/descriptor_linux.h"
#include "tests/support/file_content.h"
#include "tests/system/shared_memory_fixture.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ox::tests;

namespace
{

constexpr uid_t nobody = 65534;

class SharedMemoryOnLinux : public SharedMemory
{
  protected:
    ~SharedMemoryOnLinux() override
    {
        memory.detach();
        other.detach();
        EXPECT_EQ(QDir(u"/dev/shm"_q)
                      .entryList({u"*"_q + keyText + u"*"_q},
                                 QDir::AllEntries | QDir::System | QDir::Hidden),
                  QStringList());
    }

    static std::string statusOf(QString const & path)
    {
        struct stat status {
        };
        if (::stat(path.toStdString().c_str(), &status) != 0)
            return "none";
        char text[40];
        std::snprintf(text, sizeof text, "%o %ld", status.st_mode & 0777u,
                      static_cast<long>(status.st_size));
        return text;
    }

    QByteArray const garbage = QByteArray(5000, 'x');
    QString const globalObject = u"/dev/shm/GlobalOX_"_q + keyText + u"_1234567"_q;
    QString const localObject =
        u"/dev/shm/OX_"_q + keyText + u"_1234567."_q + QString::number(::geteuid());
};

class SharedMemoryAsRoot : public SharedMemoryOnLinux
{
  protected:
    void SetUp() override
    {
        if (::geteuid() != 0)
            GTEST_SKIP() << "only root can become another user and mount a file system";
    }

    /// Runs the work in a forked process, which ends without destructor calls. Returns the result
    /// of the work.
    template <typename Work>
    static bool isTrueInFork(Work const & work)
    {
        pid_t const pid = ::fork();
        if (pid == 0)
            ::_exit(work() ? 0 : 1);
        int status = -1;
        ::waitpid(pid, &status, 0);
        return status == 0;
    }

    template <typename Work>
    static bool isTrueForNobody(Work const & work)
    {
        return isTrueInFork([&] { return ::setresuid(nobody, nobody, nobody) == 0 && work(); });
    }
};

TEST_F(SharedMemoryOnLinux, IsAnObjectOfTheRightModeWhileItIsUsed)
{
    mode_t const mask = ::umask(0777);
    EXPECT_TRUE(memory.create(4088, true, false));
    EXPECT_TRUE(other.create(4089, false, false));
    ::umask(mask);
    EXPECT_EQ(statusOf(globalObject), "666 4096");
    EXPECT_EQ(statusOf(localObject), "600 8192");
    EXPECT_EQ(::fcntl(descriptorOf(globalObject.toStdString().c_str()), F_GETFD), FD_CLOEXEC);
    memory.detach();
    EXPECT_EQ(statusOf(globalObject), "none");
}

TEST_F(SharedMemoryOnLinux, IgnoresAnObjectThatNoProcessUses)
{
    writeFile(globalObject, garbage);
    EXPECT_FALSE(memory.attach());
    EXPECT_EQ(memory.error(), oxSharedMemory::DoesNotExist);
    EXPECT_EQ(statusOf(globalObject), "none");
    writeFile(globalObject, garbage);
    ASSERT_TRUE(memory.create(100, true, false)) << failure(memory);
    EXPECT_EQ(memory.bytes()[0], std::byte{0});
    EXPECT_EQ(statusOf(globalObject).substr(4), "4096");
}

TEST_F(SharedMemoryOnLinux, FailsIfAnObjectIsNeverReady)
{
    writeFile(globalObject, garbage);
    QFile blocker(globalObject);
    ASSERT_TRUE(blocker.open(QIODevice::ReadWrite | QIODevice::Truncate));
    ASSERT_EQ(::flock(blocker.handle(), LOCK_EX), 0);
    EXPECT_FALSE(memory.create(10, true, false));
    EXPECT_EQ(memory.error(), EAGAIN);
    ::flock(blocker.handle(), LOCK_UN);
    EXPECT_TRUE(memory.create(10, true, false));
}

TEST_F(SharedMemoryOnLinux, ReportsAFailedClose)
{
    ASSERT_TRUE(memory.create(10, true, false));
    ::close(descriptorOf(globalObject.toStdString().c_str()));
    EXPECT_FALSE(memory.detach());
    EXPECT_EQ(failure(memory),
              std::to_string(EBADF) + " CloseHandle: " + oxLastOSError8(EBADF).c_str());
    EXPECT_FALSE(memory.isAttached());
    EXPECT_TRUE(memory.create(10, true, false))
        << "an object without a holder can be created again";
}

TEST_F(SharedMemoryAsRoot, IsAccessibleToOtherUsersIfGlobal)
{
    ASSERT_TRUE(memory.create(10, true, false));
    EXPECT_TRUE(isTrueForNobody([&] {
        if (!other.attach() || !other.usesGlobalName() || !other.lock())
            return false;
        other.bytes()[0] = std::byte{5};
        return other.unlock();
    }));
    EXPECT_EQ(memory.bytes()[0], std::byte{5});
    memory.detach();

    oxSharedMemory local(key.c_str());
    ASSERT_TRUE(local.create(10, false, false));
    EXPECT_TRUE(isTrueForNobody(
        [&] { return !other.attach() && other.error() == oxSharedMemory::DoesNotExist; }));
}

TEST_F(SharedMemoryAsRoot, CanBeCreatedAgainByAnyUserAfterTheLastHolder)
{
    writeFile(globalObject, garbage); // represents an object that a killed process of root has left
    QFile::setPermissions(globalObject, QFile::Permissions(0x6666));
    EXPECT_TRUE(isTrueForNobody([&] {
        bool const created = !memory.attach() && memory.create(5000, true, false) &&
                             memory.bytes()[0] == std::byte{0};
        return created && other.attach() && memory.detach() && other.detach();
    }));
    EXPECT_EQ(statusOf(globalObject), "666 0") << "only root may remove it";
    EXPECT_FALSE(memory.attach());
    EXPECT_EQ(memory.error(), oxSharedMemory::DoesNotExist);
}

TEST_F(SharedMemoryAsRoot, FallsBackToTheLocalSegmentWithoutAccessToTheGlobalOne)
{
    writeFile(globalObject, garbage);
    QFile::setPermissions(globalObject, QFile::ReadOwner | QFile::WriteOwner);
    EXPECT_TRUE(isTrueForNobody([&] {
        bool const refused =
            !memory.create(10, true, false) && memory.error() == EACCES &&
            memory.errorString() ==
                "Unable to create Watch connection. This user does not have the "
                "SeCreateGlobalPrivilege privilege. (Probably this app was not started with admin "
                "rights.)";
        return refused && memory.create(10, true, true) && memory.error() == 0 &&
               !memory.usesGlobalName() && memory.detach();
    }));
    QFile::remove(globalObject);

    // create() also refuses a local object of another user.
    writeFile(localObject, garbage);
    ASSERT_EQ(::chown(localObject.toStdString().c_str(), nobody, nobody), 0);
    EXPECT_FALSE(memory.create(10, false, false));
    EXPECT_EQ(memory.error(), EACCES);
    QFile::remove(localObject);
}

TEST_F(SharedMemoryAsRoot, IsCreatedOnlyWithAllOfItsMemory)
{
    auto const isSystemSmall = [] {
        return ::unshare(CLONE_NEWNS) == 0 &&
               ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               ::mount("none", "/dev/shm", "tmpfs", 0, "size=64k") == 0;
    };
    if (!isTrueInFork(isSystemSmall))
        GTEST_SKIP() << "file systems cannot be mounted here";
    EXPECT_TRUE(isTrueInFork([&] {
        return isSystemSmall() && !memory.create(1000000, true, false) &&
               memory.error() == ENOSPC && memory.create(60000, true, false);
    }));
}

} // namespace
