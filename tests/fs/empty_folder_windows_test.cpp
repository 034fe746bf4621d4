#include "shared/fs/empty_folder.h"
#include "tests/fs/holder_windows.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

using namespace ox::tests;

namespace
{

class EmptyFolderOnWindows : public FolderTest
{
  protected:
    void SetUp() override { QDir().mkpath(path("f\\sub")); }

    _oxEmptyFolderResult empty() const
    {
        _oxEmptyFolderOptions options;
        options.recursive = true;
        return oxEmptyFolder(path("f"), options);
    }

    /// Creates a junction. Under Wine, which has no junctions, creates a symbolic link of the host.
    /// Returns whether the link exists.
    bool link(QString const & target, QString const & name) const
    {
        QProcess::execute(text("cmd"), {text("/c"), text("mklink"), text("/J"), name, target});
        if (!QFileInfo::exists(name))
            QProcess::execute(text("/bin/ln"), {text("-s"), unixPath(target), unixPath(name)});
        return QFileInfo::exists(name);
    }

    static QString unixPath(QString const & name)
    {
        using Converter = char *(CDECL *)(wchar_t const *);
        auto const convert = reinterpret_cast<Converter>(reinterpret_cast<void *>(
            ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
        if (!convert)
            return name;
        char * const converted = convert(name.toStdWString().c_str());
        QString const result = QString::fromUtf8(converted);
        ::HeapFree(::GetProcessHeap(), 0, converted);
        return result;
    }
};

} // namespace

TEST_F(EmptyFolderOnWindows, DeletesReadOnlyFilesAndFolders)
{
    QString const name = writeFile(path("f\\sub\\a"));
    for (QString const & readOnly : {name, path("f\\sub")})
        ::SetFileAttributesW(readOnly.toStdWString().c_str(), FILE_ATTRIBUTE_READONLY);
    auto const result = empty();
    EXPECT_EQ(result.count, 2);
    EXPECT_EQ(result.failures, 0) << result.lastError.toStdString();
    EXPECT_FALSE(QFile::exists(path("f\\sub")));
}

TEST_F(EmptyFolderOnWindows, ReportsAFileInUseAndContinues)
{
    QString const name = writeFile(path("f\\sub\\a"));
    writeFile(path("f\\sub\\b"));
    Holder const holder(name);
    auto const result = empty();
    EXPECT_EQ(result.count, 1);
    EXPECT_EQ(result.failures, 1);
    EXPECT_TRUE(
        result.lastError.startsWith(text("Unable to delete file ") + name + text(", Error 32: ")));
    EXPECT_TRUE(QFile::exists(name));
}

TEST_F(EmptyFolderOnWindows, RefusesDrivesAndShares)
{
    for (char const * root : {"C:", "C:\\", "c:/", "C:\\.", "C:\\windows\\..", "\\\\?\\C:\\",
                              "\\\\localhost\\share", "\\\\localhost\\share\\"}) {
        _oxEmptyFolderOptions options;
        options.isDryRun = true;
        EXPECT_FALSE(oxEmptyFolder(text(root), options).done) << root;
    }
}

TEST_F(EmptyFolderOnWindows, DeletesAJunctionAndKeepsItsTarget)
{
    QDir().mkpath(path("outside"));
    writeFile(path("outside\\file"));
    if (!link(path("outside"), path("f\\sub\\link")) || !link(path("outside"), path("top")))
        GTEST_SKIP() << "links are not available";
    EXPECT_FALSE(oxEmptyFolder(path("top"), {}).done);
    EXPECT_EQ(contentOf(path("outside\\file")), "content");
    auto const result = empty();
    EXPECT_EQ(contentOf(path("outside\\file")), "content");
    // Wine cannot delete a link to a folder that contains files. In this case the call must report
    // the failure.
    EXPECT_EQ(QFileInfo::exists(path("f\\sub")), result.failures > 0);
}
