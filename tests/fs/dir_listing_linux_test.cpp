#include "shared/fs/dir_listing.h"
#include "shared/fs/file.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QDir>
#include <QFile>

#include <fstream>
#include <set>

using namespace ox::tests;

using DirListingOnLinux = FolderTest;

// The names contain Latin-1, a truncated character, and bytes that are never valid in UTF-8.
// "\xed\xb3\xbf" is the UTF-8 form of the surrogate that stands for the invalid byte "\xff".
TEST_F(DirListingOnLinux, FindsFilesUnderNamesThatAreNotUtf8)
{
    std::set<std::string> const names{"caf\xe9.exr", "\xd0", "\xed\xb3\xbf",  "\xff",
                                      "\xf0\x9f",    "ok",   "a\xed\xa0\x80", "\xef\xbf\xbd"};
    for (std::string const & name : names)
        std::ofstream(folder.path().toStdString() + "/" + name) << name;
    oxDirListing listing;
    listing.init(folder.path(), false, true, true, false);
    std::set<std::string> found;
    while (listing.nextFile()) {
        EXPECT_TRUE(oxFileExists(listing.dirFileName()));
        // The content of each file is its name.
        QString const moved = folder.filePath(text("moved"));
        ASSERT_TRUE(oxRenameFile(listing.dirFileName(), moved, false));
        found.insert(contentOf(moved).toStdString());
        EXPECT_EQ(oxDeleteFile(moved), QString());
    }
    EXPECT_EQ(found, names);
}

TEST_F(DirListingOnLinux, ListsALinkAsItsTarget)
{
    QDir().mkpath(path("dir"));
    writeFile(path("a"));
    QFile::link(path("dir"), path("toDir"));
    QFile::link(path("a"), path("toFile"));
    QFile::link(path("none"), path("toNothing"));
    for (char const * name : {"toDir", "toFile", "toNothing"}) {
        oxDirListing listing;
        listing.init(path(name) + u'*', true, false, false, false);
        ASSERT_TRUE(listing.nextFile()) << name;
        EXPECT_EQ(listing.isDir(), text(name) == text("toDir"));
        EXPECT_GT(listing.fileTime().value, 0);
        EXPECT_EQ(text(name) == text("toFile"), listing.fileSize() == 7);
    }
}

TEST_F(DirListingOnLinux, MatchesPatternsByLetterCase)
{
    writeFile(path("shot_1"));
    writeFile(path("Shot_2"));
    oxDirListing listing;
    listing.init(path("shot_*"), false, false, false, false);
    ASSERT_TRUE(listing.nextFile());
    EXPECT_EQ(listing.fileName(), text("shot_1"));
    EXPECT_FALSE(listing.nextFile());
    // Directly before a dot, "?" in a pattern also matches the empty text.
    writeFile(path("shot.exr"));
    listing.init(path("sho?t?.*r*"), false, false, false, false);
    EXPECT_FALSE(listing.nextFile());
    listing.init(path("shot?.*r*"), false, false, false, false);
    ASSERT_TRUE(listing.nextFile());
    EXPECT_EQ(listing.fileName(), text("shot.exr"));
}
