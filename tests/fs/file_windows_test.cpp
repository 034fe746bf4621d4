#include "shared/data/file_searcher.h"
#include "shared/fs/file.h"
#include "shared/system/os_error.h"
#include "tests/fs/holder_windows.h"
#include "tests/fs/log_lines.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

using namespace ox::tests;

using FileOnWindows = FolderTest;

namespace
{

bool isWine()
{
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

} // namespace

TEST_F(FileOnWindows, ReportsWhyItCannotDeleteOrReplaceAFileInUse)
{
    QString const name = writeFile(path("a"));
    Holder const holder(name);
    QString const expected =
        text("Unable to delete file, ") + QString(oxLastOSError(ERROR_SHARING_VIOLATION));
    EXPECT_EQ(QString(oxDeleteFile(_oxString<500>(name))), expected);
    EXPECT_EQ(oxDeleteFile(name), expected + u'.');
    EXPECT_FALSE(oxRenameFile(writeFile(path("b")), name, true));
    EXPECT_EQ(contentOf(path("b")), "content");
    unsigned char bytes[1] = {};
    EXPECT_EQ(oxWriteBufferToFile(name, bytes, 1),
              text("Unable to write/open file: ") +
                  QString(oxLastOSError(ERROR_SHARING_VIOLATION)));
}

TEST_F(FileOnWindows, ChangesTheLetterCaseOfAName)
{
    QString const a = writeFile(path("a"));
    EXPECT_TRUE(oxRenameFile(a, path("A"), true));
    EXPECT_EQ(contentOf(a), "content");
    if (isWine())
        GTEST_SKIP() << "Wine succeeds and keeps the letter case";
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), QStringList(text("A")));
}

TEST_F(FileOnWindows, FindsAFileThatIsOpenWithoutSharing)
{
    QString const name = writeFile(path("a"));
    Holder const holder(name);
    EXPECT_TRUE(oxFileExists(_oxString<500>(name)));
}

TEST_F(FileOnWindows, RecognisesDrivesByTheirRoot)
{
    EXPECT_FALSE(oxDirectoryExists(text("C:")));
    EXPECT_TRUE(oxDirectoryExists(text("C:\\")));
    EXPECT_TRUE(oxCreateFolder(text("C:\\"), false));
    EXPECT_FALSE(oxDirectoryExists(path("a/").replace(u'\\', u'/')));
    unsigned const mb = oxGetFreeDriveSpaceMB(text("C:\\no\\such\\folder"));
    EXPECT_NEAR(mb, oxGetFreeDriveSpaceMB(folder.path()), 1024);
    EXPECT_NE(mb, 1000u);
    for (char const * unknown : {"\\\\server", "\\\\server\\share", "\\\\no-such-server\\share\\x"})
        EXPECT_EQ(oxGetFreeDriveSpaceMB(text(unknown)), 1000u) << unknown;
}

TEST_F(FileOnWindows, AcceptsNamesLongerThanTheSystemsOldLimit)
{
    QString deep = folder.path();
    while (deep.size() < 400)
        deep += u'\\' + QString(60, u'd');
    EXPECT_TRUE(oxCreateFolder(deep, true));
    EXPECT_TRUE(oxDirectoryExists(deep));
    QString const name = deep + text("\\file");
    unsigned char bytes[] = {1, 2, 3};
    EXPECT_EQ(oxWriteBufferToFile(name, bytes, 3), QString());
    __int64 size = 0;
    EXPECT_TRUE(oxFileExists(name, nullptr, &size));
    EXPECT_EQ(size, 3);
    EXPECT_TRUE(oxSetFileTime(name, nullptr));
    EXPECT_TRUE(oxRenameFile(name, name + u'2', false));
    EXPECT_EQ(oxDeleteFile(name + u'2'), QString());
    EXPECT_FALSE(oxFileExists(name + u'2', nullptr, nullptr));
    EXPECT_GT(oxGetFreeDriveSpaceMB(deep), 0u);
}

TEST_F(FileOnWindows, DoesNotWaitForANamedPipe)
{
    QString const name = text("\\\\.\\pipe\\ox_%1").arg(::GetCurrentProcessId());
    HANDLE const server =
        ::CreateNamedPipeW(reinterpret_cast<wchar_t const *>(name.utf16()), PIPE_ACCESS_DUPLEX,
                           PIPE_TYPE_BYTE, PIPE_UNLIMITED_INSTANCES, 100, 100, 0, nullptr);
    ASSERT_NE(server, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(_oxFileSearcher().load(name));
    ::CloseHandle(server);
}

TEST_F(FileOnWindows, SetsAllThreeTimes)
{
    QString const name = writeFile(path("a"));
    _oxTime stamp(std::int64_t{1600000000}, true);
    ASSERT_TRUE(oxSetFileTime(name, &stamp));
    QFileInfo const info(name);
    EXPECT_EQ(info.lastModified().toSecsSinceEpoch(), stamp.value);
    EXPECT_EQ(info.lastRead().toSecsSinceEpoch(), stamp.value);
}

TEST_F(FileOnWindows, NeedsNoExecutableRights)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(setExecutable_Rights(path("none"), true), QString());
    EXPECT_EQ(setExecutable_Rights(path("none"), false), QString());
    EXPECT_EQ(QString::fromStdString(testing::internal::GetCapturedStdout()).trimmed(),
              text("Not required on windows"));
}

TEST_F(FileOnWindows, LogLinesOfSeveralProcessesDoNotMix)
{
    if (isWine())
        GTEST_SKIP() << "Wine appends in two steps, so that another process may append in between";
    expectLogLinesDoNotMix(path("log"));
}
