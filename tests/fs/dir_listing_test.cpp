#include "shared/fs/dir_listing.h"
#include "shared/fs/file.h"
#include "shared/system/os_error.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QDir>
#include <QFile>

#include <algorithm>

using namespace ox::tests;

namespace
{

/// Returns the sorted names of a listing. The names of folders end with a slash.
QStringList namesOf(oxDirListing & listing)
{
    QStringList names;
    while (listing.nextFile())
        names << listing.fileName() + (listing.isDir() ? text("/") : QString());
    names.sort();
    return names;
}

QStringList list(QString const & path, bool includeDirs, bool readIntoMemory = false)
{
    oxDirListing listing;
    listing.init(path, includeDirs, readIntoMemory, false, false);
    return namesOf(listing);
}

class DirListing : public FolderTest
{
  protected:
    /// Creates a folder for each name that ends with a slash, and a file for each other name.
    void fill(std::initializer_list<char const *> names)
    {
        for (char const * name : names) {
            if (text(name).endsWith(u'/'))
                QDir().mkpath(path(name));
            else
                writeFile(path(name));
        }
    }
};

} // namespace

TEST_F(DirListing, ListsFilesAndOnRequestFoldersWithoutDots)
{
    fill({"a.exr", "b.txt", ".hidden", "dir/", ".git/", "dir/inside"});
    QStringList const files{text(".hidden"), text("a.exr"), text("b.txt")};
    QStringList const all{text(".git/"), text(".hidden"), text("a.exr"), text("b.txt"),
                          text("dir/")};
    for (bool const inMemory : {false, true}) {
        EXPECT_EQ(list(folder.path(), false, inMemory), files);
        EXPECT_EQ(list(folder.path(), true, inMemory), all);
    }
    EXPECT_EQ(list(folder.path() + QDir::separator(), true), all);
    // oxDirListing accepts slashes and backslashes on every system.
    EXPECT_EQ(list(folder.path().replace(u'/', u'\\'), true), all);
    EXPECT_EQ(list(folder.path().replace(u'\\', u'/'), true), all);
}

TEST_F(DirListing, ReportsTheSizeAndTheTimeOfEachFile)
{
    writeFile(path("a.bin"), QByteArray(1234, 'x'));
    fill({"dir/"});
    _oxTime stamp(std::int64_t{1600000000}, true);
    ASSERT_TRUE(oxSetFileTime(path("a.bin"), &stamp));
    for (bool const inMemory : {false, true}) {
        oxDirListing listing;
        listing.init(folder.path(), true, inMemory, false, true);
        int seen = 0;
        for (; listing.nextFile(); ++seen) {
            QString name;
            __int64 size = -1;
            _oxTime time;
            listing.fileName(name);
            listing.fileSize(size);
            listing.fileTime(time);
            EXPECT_EQ(listing.dirFileName(), path(name.toLatin1().constData()));
            EXPECT_EQ(listing.lxAccessrights(), listing.isDir() ? text("d") : text(" "));
            EXPECT_EQ(size, listing.isDir() ? 0 : 1234);
            EXPECT_TRUE(listing.isDir() || time.value == stamp.value);
        }
        EXPECT_EQ(seen, 2);
    }
}

TEST_F(DirListing, OfAFileContainsOnlyThatFile)
{
    fill({"shot.exr", "shot.exr2", "s"});
    oxDirListing listing;
    listing.init(path("shot.exr"), true, false, false, false);
    ASSERT_TRUE(listing.nextFile());
    EXPECT_EQ(listing.dirFileName(), path("shot.exr"));
    EXPECT_EQ(listing.fileSize(), 7);
    EXPECT_FALSE(listing.isDir());
    EXPECT_FALSE(listing.nextFile());
    EXPECT_FALSE(listing.nextFile());
    EXPECT_EQ(listing.error(), 0);
}

TEST_F(DirListing, FindsTheNamesThatMatchAPattern)
{
    fill({"shot", "shot_", "shot_1.exr", "shot_12.exr", "shot_1.exr.tmp", "take.1", "sub/"});
    struct {
        char const * pattern;
        QStringList names;
    } const cases[] = {
        {"shot_*",
         {text("shot_"), text("shot_1.exr"), text("shot_1.exr.tmp"), text("shot_12.exr")}},
        {"sh?t_1.*p*", {text("shot_1.exr.tmp")}},
        {"shot.*", {text("shot")}},
        {"s*b*", {text("sub/")}},
        {"*.*", list(folder.path(), true)},
        {"none*", {}}};
    for (auto const & c : cases) {
        oxDirListing listing;
        listing.init(path(c.pattern), true, false, false, false);
        EXPECT_EQ(namesOf(listing), c.names) << c.pattern;
        EXPECT_EQ(listing.error(), 0);
    }
}

TEST_F(DirListing, FiltersFilesByTheirEndingsInAnyCase)
{
    fill({"A.EXR", "b.exr", "c.tif", "exr", "dir.exr/", "dir/"});
    oxDirListing listing;
    listing.addEndsWithFilter(text(".exr"));
    listing.addEndsWithFilter(text(".TIF"));
    listing.init(folder.path(), false, false, false, false);
    EXPECT_EQ(namesOf(listing), (QStringList{text("A.EXR"), text("b.exr"), text("c.tif")}));
    listing.init(folder.path(), true, true, false, false);
    EXPECT_EQ(namesOf(listing).size(), 5);
}

TEST_F(DirListing, SortsByCodeUnitsAndStaysOnTheLastEntry)
{
    fill({"b", "a2", "B", "a10", "\xc3\xa9", "\xef\xbf\xbd", "\xf0\x9f\x98\x80"});
    if (list(folder.path(), false).size() == 6)
        QFile::rename(path("b"), path("c")); // on a file system that ignores letter case
    oxDirListing listing;
    listing.init(folder.path(), false, true, true, false);
    writeFile(path("later"));
    EXPECT_EQ(listing.fileName(), QString());
    QStringList names;
    while (listing.nextFile())
        names << listing.fileName();
    QStringList sorted = names;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(names, sorted);
    EXPECT_FALSE(names.contains(text("later")));
    // The order is that of UTF-16 code units: U+FFFD comes after the surrogates of the emoji.
    EXPECT_EQ(names.last(), QString(QChar(0xFFFD)));
    EXPECT_EQ(listing.fileName(), names.last());
    EXPECT_EQ(listing.fileSize(), 7);
    EXPECT_FALSE(listing.nextFile());
    listing.close();
    EXPECT_EQ(listing.dirFileName(), path("\xef\xbf\xbd"));
    // A new listing does not contain entries of the previous listing.
    listing.init(path("none"), false, true, true, false);
    EXPECT_FALSE(listing.nextFile());
    EXPECT_EQ(listing.fileName(), QString());
}

TEST_F(DirListing, OfAnEmptyOrMissingFolderHasNoEntries)
{
    oxDirListing listing;
    auto const expectEmpty = [&listing] {
        EXPECT_FALSE(listing.nextFile());
        EXPECT_EQ(listing.fileName(), QString());
        EXPECT_EQ(listing.fileSize(), 0);
        EXPECT_EQ(listing.fileTime().value, 0);
        EXPECT_FALSE(listing.isDir());
        EXPECT_EQ(listing.lxAccessrights(), text(" "));
        listing.close();
    };
    expectEmpty();
    QDir().mkpath(path("empty"));
    for (bool const inMemory : {false, true}) {
        listing.init(path("empty"), true, inMemory, true, false);
        expectEmpty();
        EXPECT_EQ(listing.error(), 0);
        listing.init(QString(), true, inMemory, true, false);
        expectEmpty();
        listing.init(path("none"), true, inMemory, true, false);
        expectEmpty();
        EXPECT_NE(listing.error(), 0);
        EXPECT_TRUE(QString(oxLastOSError(listing.error())).startsWith(text("Error ")));
    }
    writeFile(path("a"));
    listing.init(folder.path(), false, false, false, false);
    listing.close();
    expectEmpty();
}
