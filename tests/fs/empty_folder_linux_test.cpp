#include "shared/fs/empty_folder.h"
#include "shared/system/os_error.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include <unistd.h>

using namespace ox::tests;

namespace
{

class EmptyFolderOnLinux : public FolderTest
{
  protected:
    void SetUp() override
    {
        QDir().mkpath(path("f/sub"));
        QDir().mkpath(path("outside/dir"));
        writeFile(path("outside/file"));
    }

    bool isOutsideUntouched() const
    {
        return QFile::exists(path("outside/dir")) && contentOf(path("outside/file")) == "content";
    }

    bool isEmpty() const { return std::filesystem::is_empty(path("f").toStdString()); }

    _oxEmptyFolderResult
    empty(std::function<void(QString const &, QString const &)> report = {}) const
    {
        _oxEmptyFolderOptions options;
        options.recursive = true;
        options.report = std::move(report);
        return oxEmptyFolder(path("f"), options);
    }
};

} // namespace

TEST_F(EmptyFolderOnLinux, DeletesLinksAndKeepsTheirTargets)
{
    QFile::link(path("outside"), path("f/toDir"));
    QFile::link(path("outside/file"), path("f/sub/toFile"));
    QFile::link(text(".."), path("f/sub/toParent"));
    QFile::link(path("none"), path("f/toNothing"));
    auto const result = empty();
    EXPECT_EQ(result.failures, 0) << result.lastError.toStdString();
    EXPECT_EQ(result.count, 5);
    EXPECT_TRUE(isEmpty());
    EXPECT_TRUE(isOutsideUntouched());

    QFile::link(path("outside"), path("link"));
    for (QString const & link : {path("link"), path("link") + u'/'}) {
        auto const refused = oxEmptyFolder(link, {});
        EXPECT_FALSE(refused.done);
        EXPECT_EQ(refused.count, 0);
    }
    EXPECT_TRUE(isOutsideUntouched());
}

// Another process replaces the folder f/sub by a link, at two moments:
// - after oxEmptyFolder has read the name of f/sub and before it opens f/sub;
// - while oxEmptyFolder deletes the files in f/sub.
TEST_F(EmptyFolderOnLinux, FollowsNoLinkThatReplacesAFolderDuringTheCall)
{
    writeFile(path("f/first"));
    writeFile(path("f/sub/second"));
    auto const replaceByLink = [this] {
        QDir().rename(path("f/sub"), path("moved"));
        QFile::link(path("outside"), path("f/sub"));
    };
    auto result = empty([&](QString const & entry, QString const &) {
        if (entry == path("f/first"))
            replaceByLink();
    });
    EXPECT_EQ(result.failures, 1);
    EXPECT_TRUE(result.lastError.startsWith(text("Error deleting folder ") + path("f/sub")));
    EXPECT_TRUE(isOutsideUntouched());
    EXPECT_TRUE(QFile::exists(path("moved/second")));

    QFile::remove(path("f/sub"));
    QDir().rename(path("moved"), path("f/sub"));
    result = empty([&](QString const & entry, QString const &) {
        if (entry == path("f/sub/second"))
            replaceByLink();
    });
    // replaceByLink() has moved the open folder. Its entry ".." leads to another parent than
    // before, so the call must stop with ESTALE.
    EXPECT_FALSE(result.done);
    EXPECT_TRUE(result.lastError.endsWith(QString(oxLastOSError(ESTALE))));
    EXPECT_TRUE(isOutsideUntouched());
}

TEST_F(EmptyFolderOnLinux, ReportsUndeletableEntriesAndContinues)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root may delete everything";
    writeFile(path("f/a"));
    writeFile(path("f/sub/b"));
    QDir().mkpath(path("f/closed"));
    QDir().mkpath(path("f/unsearchable"));
    using std::filesystem::perms;
    auto const setMode = [this](char const * name, perms mode) {
        std::filesystem::permissions(path(name).toStdString(), mode);
    };
    setMode("f/sub", perms::owner_read | perms::owner_exec);
    setMode("f/closed", perms::none);
    writeFile(path("f/unsearchable/c"));
    setMode("f/unsearchable", perms::owner_read);
    int count = 0;
    QString messages;
    QString error;
    for (bool const ignoreErrors : {false, true})
        EXPECT_EQ(oxEmptyFolder(path("f"), true, ignoreErrors, 0, nullptr, &messages, &count,
                                nullptr, &error),
                  ignoreErrors);
    EXPECT_EQ(messages.count(u'\n'), 3);
    EXPECT_TRUE(messages.contains(text("Unable to delete file ") + path("f/sub/b, ") +
                                  QString(oxLastOSError(EACCES))));
    EXPECT_FALSE(QFile::exists(path("f/a")));
    for (char const * name : {"f/sub", "f/closed", "f/unsearchable"})
        setMode(name, perms::owner_all);
}

TEST_F(EmptyFolderOnLinux, DeletesNamesThatAreNotUtf8)
{
    for (char const * name : {"f/caf\xe9", "f/sub/\xff"})
        std::ofstream(folder.path().toStdString() + "/" + name) << "x";
    EXPECT_EQ(empty().count, 3);
    EXPECT_TRUE(isEmpty());
}

TEST_F(EmptyFolderOnLinux, RefusesAMountedFileSystem)
{
    QString const mounted = text("/dev/shm");
    auto const result = oxEmptyFolder(mounted, [] {
        _oxEmptyFolderOptions options;
        options.isDryRun = true;
        return options;
    }());
    EXPECT_FALSE(result.done);
    EXPECT_EQ(result.count, 0);
}
