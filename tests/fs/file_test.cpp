#include "shared/fs/file.h"
#include "shared/system/os_error.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"
#include "tests/support/this_build.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <filesystem>

using namespace ox::tests;

namespace
{

/// The system's error code for a file in a folder that does not exist.
int const missingFolderCode = isWindows ? 3 : ENOENT;

using File = FolderTest;

} // namespace

TEST_F(File, ExistsWithTheTimeAndSizeThatItWasGiven)
{
    QString const name = writeFile(path("a.bin"), QByteArray(1234, 'x'));
    _oxTime const stamp(std::int64_t{1700000000}, true);
    _oxTime given = stamp;
    ASSERT_TRUE(oxSetFileTime(name, &given));
    auto const expectFound = [&stamp](auto const & recordName) {
        _oxTime time;
        __int64 size = -1;
        EXPECT_TRUE(oxFileExists(recordName, &time, &size));
        EXPECT_EQ(time.value, stamp.value);
        EXPECT_EQ(size, 1234);
    };
    expectFound(name);
    expectFound(_oxString<500>(name));
    expectFound(_oxString8_evenSize<250>(name));

    for (QString const & missing : {path("none"), folder.path(), name + QDir::separator(),
                                    QString(), name + QChar(0) + u'x', QString(3000, u'x')}) {
        _oxTime time = stamp;
        __int64 size = -1;
        EXPECT_FALSE(oxFileExists(missing, &time, &size)) << missing.toStdString();
        EXPECT_FALSE(oxFileExists(_oxString<500>(missing)));
        EXPECT_EQ(time.value, stamp.value);
        EXPECT_EQ(size, -1);
    }
    EXPECT_FALSE(oxSetFileTime(path("none"), nullptr));
    EXPECT_TRUE(oxSetFileTime(name, nullptr));
    EXPECT_LT(QFileInfo(name).lastModified().secsTo(QDateTime::currentDateTime()), 10);
    QString const padded =
        folder.path() + QString(500 - name.size(), QDir::separator()) + text("/a.bin");
    EXPECT_TRUE(oxFileExists(padded + QString(9, u'x'))) << "only the first 500 characters count";
}

TEST_F(File, IsFoundUnderNamesBeyondAscii)
{
    QString const name = writeFile(path("f\xc3\xa9\xd0\xb6.bin")); // "fé" and a Cyrillic letter
    EXPECT_TRUE(oxFileExists(name));
    EXPECT_TRUE(oxFileExists(_oxString<500>(name)));
    EXPECT_FALSE(oxFileExists(_oxString8_evenSize<500>(name)))
        << "the name is not representable in Latin-1";
    QString const latin1 = writeFile(path("f\xc3\xa9.bin"));
    EXPECT_TRUE(oxFileExists(_oxString8_evenSize<500>(latin1)));
    ASSERT_TRUE(QFile::setPermissions(latin1, QFile::ReadOwner));
    EXPECT_TRUE(oxDeleteFile(_oxString<500>(latin1)).isEmpty());
    EXPECT_FALSE(QFile::exists(latin1));
    EXPECT_EQ(oxDeleteFile(latin1), QString());
    EXPECT_EQ(oxDeleteFile(folder.path()), QString()) << "a folder is not a file";
    EXPECT_TRUE(QFile::exists(folder.path()));
}

TEST_F(File, DistinguishesFoldersFromFiles)
{
    QString const file = writeFile(path("a"));
    for (QString const & name : {folder.path(), folder.path() + QDir::separator()}) {
        EXPECT_TRUE(oxDirectoryExists(name));
        EXPECT_TRUE(oxDirectoryExists(_oxString<500>(name)));
        EXPECT_TRUE(oxDirectoryExists(_oxString8_evenSize<500>(name)));
        EXPECT_TRUE(oxDirectoryExists(name.toUtf8().constData()));
    }
    for (QString const & name : {file, path("none"), QString(), text("/"), text("."), text("..")})
        EXPECT_FALSE(oxDirectoryExists(name)) << name.toStdString();
    EXPECT_FALSE(oxDirectoryExists(static_cast<char const *>(nullptr)));
    std::string const beyondTheRecord =
        folder.path().toStdString() + std::string(500, '/') + "none";
    EXPECT_FALSE(oxDirectoryExists(beyondTheRecord.c_str()));
}

TEST_F(File, CreatesAndRemovesFolders)
{
    QString const deep = path("x/y/z") + QDir::separator();
    EXPECT_FALSE(oxCreateFolder(deep, false));
    EXPECT_TRUE(oxCreateFolder(deep, true));
    EXPECT_TRUE(QFileInfo(deep).isDir());
    EXPECT_TRUE(oxCreateFolder(deep, false)) << "the folder exists already";
    EXPECT_TRUE(oxCreateFolder(text("C:\\"), true)) << "a drive";
    EXPECT_FALSE(oxCreateFolder(writeFile(path("file")), true));
    EXPECT_FALSE(oxCreateFolder(path("file/below"), true));
    EXPECT_FALSE(oxCreateFolder(QDir::toNativeSeparators(text("//no-such-server/share/")), true))
        << "the share does not exist";

    QString const before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(folder.path()));
    EXPECT_TRUE(oxCreateFolder(QDir::toNativeSeparators(text("a/b//c")), true));
    EXPECT_TRUE(QFileInfo(path("a/b/c")).isDir());
    QDir::setCurrent(before);

    EXPECT_FALSE(oxDeleteFolder(path("x"))) << "the folder is not empty";
    EXPECT_TRUE(oxDeleteFolder(deep));
    EXPECT_FALSE(QFile::exists(deep));
    EXPECT_FALSE(oxDeleteFolder(path("file")));
    EXPECT_FALSE(oxDeleteFolder(QString()));
}

TEST_F(File, RenamesAndOverwritesOnRequest)
{
    QString const a = writeFile(path("a"), "from a");
    QString const b = writeFile(path("b"), "from b");
    EXPECT_FALSE(oxRenameFile(a, b, false));
    EXPECT_EQ(contentOf(b), "from b");
    EXPECT_TRUE(oxRenameFile(a, b, true));
    EXPECT_TRUE(oxRenameFile(b, a, false));
    EXPECT_TRUE(oxRenameFile(a, a, true));
    EXPECT_TRUE(oxRenameFile(a, QDir::toNativeSeparators(folder.path() + text("/./a")), true));
    EXPECT_EQ(contentOf(a), "from a");
    EXPECT_FALSE(oxRenameFile(a, folder.path(), true)) << "a folder has the new name";
    EXPECT_FALSE(oxRenameFile(folder.path(), path("c"), true)) << "a folder is not a file";
    EXPECT_FALSE(oxRenameFile(path("none"), a, true));
    EXPECT_FALSE(QFile::exists(a)) << "the target is deleted first";
}

TEST_F(File, WritesBlocksInPieces)
{
    QByteArray data(9000000, '\0');
    for (int i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i * 7 / 5);
    auto * const bytes = reinterpret_cast<unsigned char *>(data.data());
    QString const name = writeFile(path("a"), "old");
    EXPECT_EQ(oxWriteBufferToFile(name, bytes, data.size()), QString());
    EXPECT_TRUE(contentOf(name) == data);
    EXPECT_EQ(oxWriteBufferToFile(name, bytes, -1), QString());
    EXPECT_EQ(contentOf(name), QByteArray());
    EXPECT_EQ(oxWriteBufferToFile(path("none/a"), bytes, 1),
              text("Unable to write/open file: ") + QString(oxLastOSError(missingFolderCode)));
}

TEST_F(File, LogLinesEndInALineBreak)
{
    _oxString8_evenSize<250> const name(path("log"));
    EXPECT_TRUE(writeToLogFile(name, "first", false, false));
    EXPECT_TRUE(writeToLogFile(name, "second", false, false));
    EXPECT_EQ(linesOf(path("log")), "first\nsecond\n");
    EXPECT_TRUE(writeToLogFile(name, "third", true, true));
    QRegularExpression const timed(text("^\\d\\d\\.\\d\\d\\. \\d\\d:\\d\\d\\.\\d\\d: third\n\\z"));
    EXPECT_TRUE(timed.match(QString::fromLatin1(linesOf(path("log")))).hasMatch());
    EXPECT_TRUE(writeToLogFile(name, QString(3000, u'x'), true, false));
    EXPECT_EQ(linesOf(path("log")), QByteArray(2999, 'x') + '\n');
    EXPECT_FALSE(writeToLogFile(folder.path(), "no", false, false));
}

TEST_F(File, FreeSpaceIsThatOfTheNearestFolder)
{
    for (char const * unknown : {"", "C:", "relative/path", "\\\\server"})
        EXPECT_EQ(oxGetFreeDriveSpaceMB(text(unknown)), 1000u) << unknown;
    auto const expected =
        static_cast<double>(std::filesystem::space(folder.path().toStdString()).available >> 20);
    for (QString const & name :
         {folder.path(), writeFile(path("a")), path("none/at/all"), path("a/b")})
        EXPECT_NEAR(oxGetFreeDriveSpaceMB(name), expected, 1024) << name.toStdString();
}

TEST(FileTime, ConversionsAreNotInverse)
{
    std::uint32_t halves[2]; // the low half comes first
    auto * const fileTime = reinterpret_cast<FILETIME *>(halves);
    timeToFileTime(0, fileTime);
    EXPECT_EQ(halves[0], 0xD53E8000u);
    EXPECT_EQ(halves[1], 0x019DB1DEu);
    _oxTime time;
    fileTimeToTime(time, fileTime);
    EXPECT_EQ(time.value, 11644473600);
    timeToFileTime(std::numeric_limits<__int64>::max(), fileTime); // must overflow without a fault
}
