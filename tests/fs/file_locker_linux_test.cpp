#include "tests/fs/file_locker_fixture.h"

#include <QFile>

#include <sys/stat.h>

using namespace ox::tests;

TEST_F(FileLocker, ShowsTheHolderInTheLockFileWhileHeld)
{
    QString const cyrillic = folder.filePath(QStringLiteral("\u0436.ini"));
    mode_t const mask = ::umask(077);
    _oxFileLocker locker(cyrillic);
    ASSERT_TRUE(locker.lock(0, who + QStringLiteral("\n\u00e9"), nullptr, false));
    ::umask(mask);
    EXPECT_EQ(_oxFileLocker(cyrillic).status().who, who + QStringLiteral("\n\u00e9"));
    // Every user may write to the lock file, so that every user can remove a stale lock.
    struct stat status;
    ASSERT_EQ(::stat(QFile::encodeName(cyrillic + QStringLiteral("_lock.txt")), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0666u);
}

TEST_F(FileLocker, UnlockKeepsALaterLockOfAnotherHolder)
{
    _oxFileLocker first(file);
    _oxFileLocker next(file);
    ASSERT_TRUE(first.lock(0, who, nullptr, false));
    ASSERT_TRUE(QFile::remove(lockName));
    ASSERT_TRUE(next.lock(0, who, nullptr, false));
    first.unlock();
    EXPECT_EQ(_oxFileLocker(file).status().holder, _oxFileLockStatus::Process);
}

TEST_F(FileLocker, IsReleasedWhereOpenFilesCannotBeRemoved)
{
    qputenv("OX_TEST_FAULT", "refuses to remove open files");
    expectAllSucceed(6, childProgram, {text("turns"), file, text("50")});
    EXPECT_FALSE(QFile::exists(lockName));

    writeFile(lockName);
    EXPECT_EQ(Child(childProgram, {text("contend"), file, text("7")}).finish(), 0)
        << "a lock file that was left behind is removed, too";
    EXPECT_FALSE(QFile::exists(lockName));
    qunsetenv("OX_TEST_FAULT");
}

TEST_F(FileLocker, HandlesAFlockOfAnotherProcess)
{
    struct Case {
        char const * fault;
        int result;
        bool keepsTheFile;
    };
    for (Case const & each :
         {Case{"shared flock", 0, false}, Case{"brief exclusive flock", 0, false},
          Case{"exclusive flock", 3, false}, Case{"refuses to remove", 4, true}}) {
        qputenv("OX_TEST_FAULT", each.fault);
        EXPECT_EQ(Child(childProgram, {text("try"), file, text("3")}).finish(), each.result)
            << each.fault;
        EXPECT_EQ(QFile::exists(lockName), each.keepsTheFile) << each.fault;
    }
    qunsetenv("OX_TEST_FAULT");
}

TEST_F(FileLocker, IsNotInheritedByOtherPrograms)
{
    _oxFileLocker locker(file);
    ASSERT_TRUE(locker.lock(0, who, nullptr, false));
    Child child(childProgram, {QStringLiteral("hold"), folder.filePath(QStringLiteral("other"))});
    ASSERT_TRUE(child.hasPrinted());
    // unlock() does not remove a lock file that has been renamed.
    ASSERT_TRUE(QFile::rename(lockName, lockName + u'2'));
    locker.unlock();
    ASSERT_TRUE(QFile::rename(lockName + u'2', lockName));
    EXPECT_EQ(_oxFileLocker(file).status().holder, _oxFileLockStatus::Nobody);
}
