#include "tests/fs/file_locker_fixture.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>

using namespace ox::tests;

TEST_F(FileLocker, ReportsThatItIsHeld)
{
    {
        _oxFileLocker locker(file);
        EXPECT_TRUE(locker.lockFileName() == lockName);
        EXPECT_FALSE(locker.status().exists);
        ASSERT_TRUE(locker.lock(1000, who, &waited, false));
        EXPECT_EQ(waited, 0);
        _oxFileLockStatus const status = _oxFileLocker(file).status();
        EXPECT_TRUE(status.exists);
        EXPECT_EQ(status.holder, _oxFileLockStatus::Process);
        EXPECT_NEAR(static_cast<double>(status.since.value),
                    static_cast<double>(_oxTime(true).value), 5);
        EXPECT_FALSE(status.isStale);

        EXPECT_TRUE(locker.unlock());
        EXPECT_FALSE(QFile::exists(lockName));
        ASSERT_TRUE(locker.lock(0, who, nullptr, false));
    }
    EXPECT_FALSE(QFile::exists(lockName)) << "the destructor unlocks";
}

TEST_F(FileLocker, WaitsInStepsOf250Milliseconds)
{
    _oxFileLocker holder(file);
    _oxFileLocker waiter(file);
    EXPECT_TRUE(waiter.isFree(0, &waited));
    EXPECT_EQ(waited, 0);
    EXPECT_FALSE(QFile::exists(lockName));

    ASSERT_TRUE(holder.lock(0, who, nullptr, false));
    std::pair<int, int> const rows[] = {{-1, 250}, {0, 250}, {249, 250}, {600, 500}};
    for (auto const & [timeout, expected] : rows) {
        QElapsedTimer timer;
        timer.start();
        EXPECT_FALSE(waiter.lock(timeout, who, &waited, false));
        EXPECT_EQ(waited, expected);
        EXPECT_GE(timer.elapsed(), expected);
        EXPECT_FALSE(waiter.isFree(timeout, &waited));
        EXPECT_EQ(waited, expected);
    }
    waiter.unlock();
    EXPECT_TRUE(QFile::exists(lockName)) << "unlocking without the lock changes nothing";
}

TEST_F(FileLocker, DistinguishesALockThatCannotBeCreatedFromAHeldOne)
{
    _oxFileLocker inMissingFolder(folder.filePath(QStringLiteral("missing/a.ini")));
    EXPECT_FALSE(inMissingFolder.lock(1000, who, &waited, false));
    EXPECT_EQ(waited, 0) << "the negated waiting time of the first attempt, 0 ms";
    EXPECT_NE(inMissingFolder.status().systemError, 0);
    EXPECT_EQ(_oxFileLocker(file).status().systemError, 0);

    // lock() refuses a name that would have to be truncated or changed: the result would be the
    // name of another file.
    QString const longest = folder.filePath(QString(240 - folder.path().size(), u'n'));
    _oxFileLocker fits(longest);
    EXPECT_TRUE(fits.lock(0, who, nullptr, false));
    EXPECT_TRUE(QFile::exists(longest + QStringLiteral("_lock.txt")));
    for (QString const & name : {longest + u'n', QString(), file + QChar(0) + u'x'}) {
        _oxFileLocker locker(name);
        EXPECT_TRUE(locker.lockFileName().isEmpty());
        EXPECT_FALSE(locker.lock(1000, who, &waited, false));
        EXPECT_EQ(waited, -1);
        EXPECT_FALSE(locker.isFree(1000, nullptr));
        EXPECT_FALSE(locker.status().exists);
        locker.unlock();
    }
}

TEST_F(FileLocker, TakesTheLockOfAKilledHolderOnlyAfterThreeHours)
{
    Child child(childProgram, {QStringLiteral("hold"), file});
    ASSERT_TRUE(child.hasPrinted());
    child.kill();

    _oxFileLocker locker(file);
    _oxFileLockStatus const left = locker.status();
    EXPECT_TRUE(left.exists);
    EXPECT_EQ(left.holder, _oxFileLockStatus::Nobody);
    EXPECT_EQ(left.who, QStringLiteral("child\n\u00e9"));
    QRegularExpression const expected(
        QStringLiteral("^\n File locked by: child\n\u00e9"
                       "\n Time locked: \\d\\d\\.\\d\\d \\d\\d:\\d\\d\\.\\d\\d"
                       "\nInfo: This lock file should only exist a few seconds for config files."
                       "\n\n\\z"));
    EXPECT_TRUE(expected.match(QString::fromLatin1(contentOf(lockName))).hasMatch());
    EXPECT_FALSE(locker.lock(0, who, nullptr, false));
    ageLockFile(10800 - 60);
    EXPECT_FALSE(locker.lock(0, who, nullptr, false));
    EXPECT_FALSE(locker.status().isStale);

    ageLockFile(10800 + 2);
    EXPECT_TRUE(locker.status().isStale);
    EXPECT_TRUE(QFile::exists(lockName)) << "status() removes nothing";
    EXPECT_TRUE(locker.lock(300, who, &waited, false));
    EXPECT_EQ(waited, 250) << "a stale lock is removed only after the timeout";
    EXPECT_EQ(locker.status().holder, _oxFileLockStatus::Process);
}

TEST_F(FileLocker, KeepsTheOldLockOfALiveHolder)
{
    Child child(childProgram, {QStringLiteral("hold"), file});
    ASSERT_TRUE(child.hasPrinted());
    ageLockFile(20000);
    _oxFileLocker locker(file);
    EXPECT_FALSE(locker.lock(0, who, nullptr, false));
    EXPECT_FALSE(locker.isFree(0, nullptr));
    EXPECT_EQ(locker.status().holder, _oxFileLockStatus::Process);
    EXPECT_TRUE(locker.status().isStale);
    EXPECT_EQ(child.finish(), 0);
    EXPECT_TRUE(locker.lock(0, who, &waited, false));
    EXPECT_EQ(waited, 0);
}

TEST_F(FileLocker, WaitsForAFolderThatHasItsName)
{
    _oxFileLocker locker(file);
    ASSERT_TRUE(QDir().mkdir(lockName));
    EXPECT_FALSE(locker.lock(0, who, &waited, false));
    EXPECT_EQ(waited, 250);
    ASSERT_TRUE(QDir().rmdir(lockName));
}

TEST_F(FileLocker, LosesNoUpdateOfEightProcesses)
{
    expectAllSucceed(8, childProgram, {QStringLiteral("increment"), file, QStringLiteral("100")});
    EXPECT_EQ(contentOf(file).toInt(), 800);
}

TEST_F(FileLocker, WaitersForAStaleLockNeverRemoveANewOne)
{
    writeFile(lockName, {});
    ageLockFile(20000);
    expectAllSucceed(10, childProgram, {QStringLiteral("exclusive"), file});
    EXPECT_FALSE(QFile::exists(lockName));
    // Each process often removes stale locks that other processes have not released.
    expectAllSucceed(8, childProgram, {QStringLiteral("contend"), file, QStringLiteral("600")});
}
