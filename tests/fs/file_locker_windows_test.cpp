#include "tests/fs/file_locker_fixture.h"

#include <QDir>
#include <QFile>

#include <windows.h>

using namespace ox::tests;

TEST_F(FileLocker, KeepsOthersFromOpeningTheLockFile)
{
    _oxFileLocker locker(file);
    ASSERT_TRUE(locker.lock(0, who, nullptr, false));
    std::wstring const name = lockName.toStdWString();
    EXPECT_EQ(::_wfopen(name.c_str(), L"r"), nullptr);
    EXPECT_FALSE(::DeleteFileW(name.c_str()));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(locker.status().who, QString());
}

TEST_F(FileLocker, RenamesALockFileThatCannotBeDeleted)
{
    for (int i = 0; i < 2; ++i) {
        _oxFileLocker locker(file);
        ASSERT_TRUE(locker.lock(0, who, nullptr, false)) << "no lock file has the name";
        ::SetFileAttributesW(lockName.toStdWString().c_str(), FILE_ATTRIBUTE_READONLY);
        EXPECT_TRUE(locker.unlock());
        EXPECT_FALSE(QFile::exists(lockName));
        EXPECT_TRUE(contentOf(lockName + QStringLiteral(".none")).contains("farm01"));
    }
    QFile::setPermissions(lockName + QStringLiteral(".none"), QFile::WriteOwner);
}

TEST_F(FileLocker, ReportsThatTheLockFileCouldNotBeRemoved)
{
    _oxFileLocker locker(file);
    ASSERT_TRUE(locker.lock(0, who, nullptr, false));
    ::SetFileAttributesW(lockName.toStdWString().c_str(), FILE_ATTRIBUTE_READONLY);
    ASSERT_TRUE(QDir().mkdir(lockName + QStringLiteral(".none")));
    EXPECT_FALSE(locker.unlock());
    EXPECT_TRUE(QFile::exists(lockName));
    EXPECT_EQ(_oxFileLocker(file).status().holder, _oxFileLockStatus::Nobody);
    QFile::setPermissions(lockName, QFile::WriteOwner);
}

TEST_F(FileLocker, RemovesAStaleLockThatIsReadOnly)
{
    writeFile(lockName);
    ageLockFile(20000);
    ::SetFileAttributesW(lockName.toStdWString().c_str(), FILE_ATTRIBUTE_READONLY);
    _oxFileLocker locker(file);
    EXPECT_TRUE(locker.lock(0, who, &waited, false));
    EXPECT_EQ(waited, 250);
}

TEST_F(FileLocker, RefusesNamesBeyondLatin1)
{
    _oxFileLocker locker(folder.filePath(QStringLiteral("\u0436.ini")));
    EXPECT_FALSE(locker.lock(0, who, &waited, false));
    EXPECT_EQ(waited, -1);
}

TEST_F(FileLocker, IsNotInheritedByOtherPrograms)
{
    _oxFileLocker locker(file);
    ASSERT_TRUE(locker.lock(0, who, nullptr, false));
    Child child(childProgram, {QStringLiteral("hold"), folder.filePath(QStringLiteral("other"))});
    ASSERT_TRUE(child.hasPrinted());
    locker.unlock();
    EXPECT_FALSE(QFile::exists(lockName));
    EXPECT_FALSE(QFile::exists(lockName + QStringLiteral(".none")));
}
