#include "tests/fs/file_locker_fixture.h"

TEST_F(FileLocker, ShowsTheHolderInTheLockFileWhileHeld)
{
    _oxFileLocker locker(file);
    ASSERT_TRUE(locker.lock(0, who + QStringLiteral("\n\u00e9"), nullptr, false));
    EXPECT_EQ(_oxFileLocker(file).status().who, who + QStringLiteral("\n\u00e9"));
    EXPECT_TRUE(contentOf(lockName).contains("farm01"));
}

TEST_F(FileLocker, LocksFilesWithNamesBeyondLatin1)
{
    QString const cyrillic = folder.filePath(QStringLiteral("\u0436\u20ac.ini"));
    _oxFileLocker locker(cyrillic);
    EXPECT_TRUE(locker.lock(0, who, nullptr, false));
    EXPECT_TRUE(QFile::exists(cyrillic + QStringLiteral("_lock.txt")));
}

TEST_F(FileLocker, FollowsNoLink)
{
    _oxFileLocker locker(file);
    ASSERT_TRUE(QFile::link(folder.filePath(QStringLiteral("nowhere")), lockName));
    EXPECT_FALSE(locker.lock(0, who, &waited, false));
    EXPECT_EQ(waited, 250);
    EXPECT_FALSE(QFile::exists(folder.filePath(QStringLiteral("nowhere"))));
}

TEST_F(FileLocker, UnlockLeavesALockThatSomebodyElseHasTakenSince)
{
    _oxFileLocker robbed(file);
    _oxFileLocker next(file);
    ASSERT_TRUE(robbed.lock(0, who, nullptr, false));
    ASSERT_TRUE(QFile::remove(lockName));
    ASSERT_TRUE(next.lock(0, who, nullptr, false));
    robbed.unlock();
    EXPECT_EQ(_oxFileLocker(file).status().holder, _oxFileLockStatus::Process);
}

TEST_F(FileLocker, IsNotInheritedByOtherPrograms)
{
    _oxFileLocker locker(file);
    ASSERT_TRUE(locker.lock(0, who, nullptr, false));
    Child child({QStringLiteral("hold"), folder.filePath(QStringLiteral("other"))});
    ASSERT_TRUE(child.hasPrinted());
    ASSERT_TRUE(QFile::rename(lockName, lockName + u'2')); // so that unlocking leaves the file
    locker.unlock();
    ASSERT_TRUE(QFile::rename(lockName + u'2', lockName));
    EXPECT_EQ(_oxFileLocker(file).status().holder, _oxFileLockStatus::Nobody);
}
