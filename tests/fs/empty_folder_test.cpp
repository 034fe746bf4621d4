#include "shared/fs/empty_folder.h"
#include "shared/fs/file.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>

using namespace ox::tests;

namespace
{

class EmptyFolder : public FolderTest
{
  protected:
    void SetUp() override
    {
        QDir().mkpath(path("f/sub/deep"));
        QDir().mkpath(path("f/none"));
        for (char const * name : {"f/a", "f/b", "f/sub/c", "f/sub/deep/d", "beside"})
            writeFile(path(name));
    }

    /// Returns the relative paths of the entries that remain in the folder and its subfolders.
    QStringList left() const
    {
        QStringList names;
        QDirIterator it(path("f"), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext())
            names << QDir(path("f")).relativeFilePath(it.next());
        names.sort();
        return names;
    }

    bool empty(bool recursive, QStringList const & skip = {}, int minAge = 0)
    {
        return oxEmptyFolder(path("f"), recursive, false, minAge, &skip, &messages, &count, &bytes,
                             &error);
    }

    QString messages;
    QString error = text("before");
    int count = -1;
    __int64 bytes = -1;
};

} // namespace

TEST_F(EmptyFolder, DeletesFilesAndOnRequestFoldersButNotTheFolderItself)
{
    EXPECT_TRUE(empty(false));
    EXPECT_EQ(left(), (QStringList{text("none"), text("sub"), text("sub/c"), text("sub/deep"),
                                   text("sub/deep/d")}));
    EXPECT_EQ(count, 2);
    EXPECT_EQ(bytes, 14);
    EXPECT_EQ(error, QString());
    EXPECT_EQ(messages, path("f"));

    EXPECT_TRUE(empty(true));
    EXPECT_EQ(left(), QStringList());
    EXPECT_EQ(count, 5);
    EXPECT_EQ(bytes, 14);
    EXPECT_EQ(messages, path("f") + text(" -rec"));
    EXPECT_TRUE(QFile::exists(path("f")));
    EXPECT_TRUE(QFile::exists(path("beside")));
    EXPECT_TRUE(oxEmptyFolder(path("f") + QDir::separator(), true, true, 5, nullptr, nullptr,
                              nullptr, nullptr, nullptr));
}

TEST_F(EmptyFolder, KeepsSkippedEntriesWithTheirContent)
{
    EXPECT_TRUE(empty(true, {text("DEEP"), text("b")}));
    EXPECT_EQ(left(), (QStringList{text("b"), text("sub"), text("sub/deep"), text("sub/deep/d")}));
    EXPECT_EQ(count, 3);
}

TEST_F(EmptyFolder, KeepsYoungEntriesWithTheirFolders)
{
    _oxTime old(QDateTime::currentSecsSinceEpoch() - 7200, true);
    ASSERT_TRUE(oxSetFileTime(path("f/a"), &old));
    ASSERT_TRUE(oxSetFileTime(path("f/sub/c"), &old));
    EXPECT_TRUE(empty(true, {}, 3600));
    EXPECT_EQ(left(), (QStringList{text("b"), text("none"), text("sub"), text("sub/deep"),
                                   text("sub/deep/d")}));
    EXPECT_EQ(messages, path("f") + text(" -rec -del 3600"));
}

TEST_F(EmptyFolder, RefusesRootsFilesAndMissingFolders)
{
    for (QString const & refused :
         {QString(), text("/"), text("//"), QDir::rootPath(),
          QDir::toNativeSeparators(QDir::rootPath()), path("none"), path("beside"),
          QDir::rootPath() + text("/."), QString(u'a') + QChar(0)}) {
        EXPECT_FALSE(oxEmptyFolder(refused, false, true, 1000000000, nullptr, &messages, &count,
                                   &bytes, &error))
            << refused.toStdString();
        EXPECT_TRUE(error.startsWith(text("Error deleting folder ") + refused));
        EXPECT_EQ(messages, refused + text(" -ign -del 1000000000\n") + error);
        EXPECT_EQ(count, 0);
    }
    EXPECT_TRUE(QFile::exists(path("beside")));
}

TEST_F(EmptyFolder, DeletesNothingInADryRunAndStopsOnRequest)
{
    QStringList reported;
    _oxEmptyFolderOptions options;
    options.recursive = true;
    options.isDryRun = true;
    options.report = [&reported](QString const & entry, QString const &) { reported << entry; };
    QStringList const before = left();
    auto const dryRun = oxEmptyFolder(path("f"), options);
    EXPECT_EQ(left(), before);
    EXPECT_EQ(dryRun.count, 7);
    EXPECT_EQ(dryRun.bytes, 28);
    QStringList names;
    for (QString const & entry : reported)
        names << QDir(path("f")).relativeFilePath(QDir::fromNativeSeparators(entry));
    names.sort();
    EXPECT_EQ(names, before);

    options.isDryRun = false;
    options.stop = [&reported] { return reported.size() == 10; };
    auto const stopped = oxEmptyFolder(path("f"), options);
    EXPECT_FALSE(stopped.done);
    EXPECT_EQ(stopped.count, 3);
    EXPECT_EQ(left().size(), 4);
}

TEST_F(EmptyFolder, EmptiesAVeryDeepTree)
{
    // Wine looks up each folder of a path separately, which takes minutes for 2000 folders.
    int const pieces = QDir::separator() == u'\\' ? 4 : 40;
    int const pieceDepth = 50;
    for (int i = 0; i < pieces; ++i) {
        // Builds the tree from pieces with rename(), since a single path to the deepest folder
        // would exceed the system's limit.
        QString const bottom = path("f/next") + QString(text("/d")).repeated(pieceDepth - 1);
        ASSERT_TRUE(QDir().mkpath(bottom));
        ASSERT_TRUE(QDir().rename(path("f/sub"), bottom + text("/sub")));
        ASSERT_TRUE(QDir().rename(path("f/next"), path("f/sub")));
    }
    EXPECT_TRUE(empty(true)) << error.toStdString();
    EXPECT_EQ(left(), QStringList());
    EXPECT_EQ(count, 7 + pieces * pieceDepth);
}
