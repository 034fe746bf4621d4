#include "shared/fs/path.h"
#include "tests/support/text.h"
#include "tests/support/this_build.h"

#include <gtest/gtest.h>

#include <QDir>

using namespace ox::tests;

namespace
{

struct Row {
    char const * path;
    char const * expected;
};

template <typename Function, std::size_t N>
void expectRows(Function function, Row const (&rows)[N])
{
    for (Row const & row : rows)
        EXPECT_EQ(function(text(row.path)), text(row.expected)) << row.path;
}

} // namespace

TEST(Path, ConvertsSeparatorsOnly)
{
    QString const mixed = text("C:/a\\b//..\\c");
    for (auto const os : {_oxOS::All, _oxOS::Windows, static_cast<_oxOS>(9)})
        EXPECT_EQ(oxConvertPDToOS(mixed, os), text("C:\\a\\b\\\\..\\c"));
    for (auto const os : {_oxOS::Linux, _oxOS::Mac})
        EXPECT_EQ(oxConvertPDToOS(mixed, os), text("C:/a/b//../c"));

    QString own = oxConvertPDToOS(mixed, _oxOS::Linux).replace(u'/', QDir::separator());
    EXPECT_EQ(oxConvertPDToOS(mixed), own);
}

TEST(Path, SplitsOnlyAfterTheSecondCharacter)
{
    expectRows(oxGetFileNameExtention,
               {{"abc", "abc"}, {"a.b", "a.b"}, {"ab.c", ".c"}, {"a\\b.c.exr", ".exr"}, {"", ""}});
    expectRows([](QString const & path) { return oxGetFileName(path, '/'); },
               {{"/x", "/x"}, {"a/x", "a/x"}, {"ab/x", "x"}, {"ab\\x", "ab\\x"}, {"ab/", ""}});
    expectRows(oxGetFileNameAutoPD, {{"ab/c\\d", "c\\d"}, {"ab\\c", "c"}, {"", ""}});
    expectRows([](QString const & path) { return oxGetFileNameBase(path, '\\'); },
               {{"C:\\d.x\\ab.c.exr", "ab.c"}, {"C:\\d\\a.exr", "a.exr"}, {"abc.exr", "abc"}});
}

TEST(Path, FindsTheFolder)
{
    Row const windows[] = {{"C:\\a\\b.exr", "C:\\a\\"},
                           {"C:\\a\\", "C:\\"},
                           {"C:\\", ""},
                           {"\\\\srv\\share", "\\\\srv\\share\\"},
                           {"\\\\srv\\share\\x", "\\\\srv\\share\\"},
                           {"\\\\srv\\share\\d\\x\\", "\\\\srv\\share\\d\\"},
                           {"\\\\srv", ""},
                           {"ab", "ab"},
                           {"a\\", "a\\"},
                           {"abc", ""}};
    expectRows([](QString const & path) { return oxGetDirName(path, '\\'); }, windows);
    expectRows(oxGetDirNameAutoPD, windows);
    expectRows(oxGetDirNameAutoPD, {{"//srv/share", "//srv/share/"}, {"/u/x", "/u/"}});
    QString const full(200, u'x');
    auto const shareRoot = _oxString8_evenSize<200>(text("\\\\srv\\") + full);
    EXPECT_EQ(oxGetDirName(shareRoot).size(), 200)
        << "the capacity is too small for a closing separator";
}

TEST(Path, FixedStringsSplitAtTheLastSeparator)
{
    EXPECT_TRUE(oxGetFileName(_oxString8_evenSize<200>("\\x")) == "x");
    EXPECT_TRUE(oxGetFileName(_oxString8_evenSize<200>("a\\b/c")) == "b/c");
    _oxString8_evenSize<200> const longName(text("a\\") + QString(150, u'n'));
    EXPECT_EQ(oxGetFileName(longName).size(), 100);

    _oxString8_evenSize<200> const slashes("/a/b.exr");
    EXPECT_TRUE(oxGetFileName(slashes) == (isWindows ? "/a/b.exr" : "b.exr"));
    EXPECT_TRUE(oxGetDirName(slashes) == (isWindows ? "" : "/a/"));
}

TEST(Path, AddsTextInFrontOfTheExtension)
{
    expectRows([](QString const & name) { return oxAddStringToFileName(name, text("_x")); },
               {{"a.exr", "a_x.exr"}, {"C:\\d.1\\a", "C:\\d.1\\a_x"}, {".hidden", ".hidden_x"}});
}

TEST(Path, RecognisesRelativePathsAndRoots)
{
    for (char const * path : {"", "C:", "\\\\", "/usr/x", "abc", "C:x\\y", "<Data>"})
        EXPECT_TRUE(isRelativePath(text(path))) << path;
    for (char const * path : {"\\\\srv", "\\ab", "C:\\", "<Database>", "<database>x"})
        EXPECT_FALSE(isRelativePath(text(path))) << path;

    for (char const * path :
         {"", "C:", "C:\\", "\\\\x", "\\\\srv", "\\\\srv\\share", "\\\\srv\\share\\",
          "\\\\srv\\share\\dir\\", "//srv/share/dir/", "/usr/share"})
        EXPECT_TRUE(oxIsRootpath(text(path))) << path;
    for (char const * path : {"C:\\x", "\\\\srv\\share\\dir\\x", "//srv/share/dir/x", "/aa/b/c/d"})
        EXPECT_FALSE(oxIsRootpath(text(path))) << path;
}

TEST(Path, ResolvesTheFirstSequenceOfParentFolders)
{
    expectRows(oxPathResolve, {{"C:\\a\\b\\..\\x", "C:\\a\\x"},
                               {"C:\\a\\..\\b\\..\\x", "C:\\b\\..\\x"},
                               {"\\\\srv\\share\\..\\..\\x", "\\\\srv\\share\\x"},
                               {"..\\..\\x", "x"},
                               {"ab/cd../x", "ab/cd../x"},
                               {"ab/../", ""}});
    // With these paths, an algorithm of quadratic time would exceed the time limit of the test.
    int const many = 1000000;
    QString const steps = text("../").repeated(many);
    QString const share = text("//srv/") + QString(many, u's') + u'/';
    EXPECT_EQ(oxPathResolve(text("/ab") + text("/a").repeated(many) + u'/' + steps + u'x'),
              text("/ab/x"));
    EXPECT_EQ(oxPathResolve(share + steps + u'x'), share + u'x');
}

TEST(Path, CleansFileNames)
{
    auto const clean = [](bool allowSpaces, bool keepPlaceholders) {
        return [=](QString const & name) {
            return oxRemoveIllegalCharFromFile(name, allowSpaces, keepPlaceholders);
        };
    };
    expectRows(clean(false, false), {{"shot<FN4>.exr", "shotFN4.exr"}});
    expectRows(clean(false, true), {{"<FN><FN8><FN1>FN<FN7>", "<FN>FN8<FN1>FN<FN7>"},
                                    {"<F;N><F^N><FN", "<FN>FNFN"},
                                    {"a b\tc\nd\re\\f/g|h", "abcdefgh"}});
    expectRows(clean(true, false), {{"a b", "a b"}, {"C:x;#}{\"=?`~*^\x01\x1f.e", "C_x.e"}});
}

TEST(Path, CleansFoldersAndLinks)
{
    auto const clean = [](bool last) {
        return [last](QString const & path) {
            return oxRemoveIllegalCharFromDir(path, true, true, last);
        };
    };
    expectRows(clean(false), {{"C:\\a:b\\c*d\\<FN2>/<x>", "C:\\a_b\\cd\\<FN2>/x"},
                              {"1:\\a", "1_\\a"},
                              {"C:\\a. ", "C:\\a. "}});
    expectRows(clean(true),
               {{"C:\\a. .", "C:\\a"}, {"C:\\a.\\", "C:\\a\\"}, {"a\\..", "a\\.."}, {"", ""}});
    EXPECT_EQ(oxRemoveIllegalCharFromDir(text("C:\\a b"), false, true, false), text("C:\\ab"));

    EXPECT_EQ(oxRemoveIllegalCharFromHtmlFile(text("a&b c/d%'+<FN>:.e")), text("abcdFN_.e"));
    EXPECT_EQ(oxRemoveIllegalCharFromHtmlDir(text("C:\\a&b\\c d/")), text("C_/ab/cd/"));
}
