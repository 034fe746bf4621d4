#include "shared/data/file_searcher.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <climits>
#include <cstring>
#include <string>

using namespace ox::tests;

namespace
{

using Text = _oxString8_evenSize<500>;
using ShortText = _oxString8_evenSize<250>;

constexpr int headroom = _oxFileSearcher::headroom;

/// Sets the content of `file`. Allocates a block of the same size as load() does.
void fill(_oxFileSearcher & file, std::string const & content)
{
    file.freeBuffer();
    ASSERT_TRUE(content.empty() || file.changeDataSize(0, int(content.size())));
    std::copy(content.begin(), content.end(), file.data);
}

std::string contentOf(_oxFileSearcher const & file)
{
    return std::string(file.data, std::size_t(file.size));
}

using SearcherFiles = FolderTest;

} // namespace

TEST(FileSearcher, FindsNothingAfterTheEnd)
{
    _oxFileSearcher file;
    EXPECT_EQ(file.indexOf(Text("a"), 0), -1);
    fill(file, "Frame of a frame");
    // A search ignores bytes after the end of the content.
    std::strcpy(file.data + file.size, " frames");
    EXPECT_EQ(file.indexOf(ShortText("frame"), INT_MIN), 11);
    EXPECT_EQ(file.indexOf(Text("frame f"), 11), -1);
    EXPECT_EQ(file.indexOfIgnCase(ShortText("FRAME"), 1), 11);
    EXPECT_EQ(file.indexOfIgnCase(Text("FRAME"), 12), -1);
}

TEST(FileSearcher, CountsButKeepsAMatchThatTouchesTheLastByte)
{
    _oxFileSearcher file;
    fill(file, "aXbx");
    EXPECT_EQ(file.replaceAll(Text("x"), Text("long")), 2);
    EXPECT_EQ(contentOf(file), "alongbx");
    EXPECT_EQ(file.replaceAll(Text(""), Text("x")), 0);
    EXPECT_EQ(contentOf(file), "alongbx");
    fill(file, "\xC4 \n");
    EXPECT_EQ(file.replaceAll(Text("\xE4"), Text("x")), 0) << "only ASCII letters have a case";
}

TEST(FileSearcher, ReplacesManyMatchesWithMuchMoreText)
{
    std::string const content(100001, 'x');
    std::string expected;
    std::string const replacement = std::string(99, 'y') + 'x';
    for (int i = 0; i < 100000; ++i)
        expected += replacement;
    _oxFileSearcher file;
    fill(file, content);
    EXPECT_EQ(file.replaceAll(Text("X"), Text(replacement.data(), 100)), 100001);
    EXPECT_EQ(contentOf(file), expected + 'x');
    EXPECT_GE(file.capacity, file.size);
}

TEST(FileSearcher, ReplacesLatin1TextsInUtf16)
{
    auto const utf16 = [](QString const & text) {
        return std::string(reinterpret_cast<char const *>(text.utf16()),
                           std::size_t(text.size()) * 2);
    };
    _oxFileSearcher file;
    fill(file, utf16(QStringLiteral("\uFEFFName=Büro; NAME=Łódź;name")));
    EXPECT_EQ(file.replaceAll_unicode("name=", "n\xE4her="), 2);
    EXPECT_EQ(contentOf(file), utf16(QStringLiteral("\uFEFFnäher=Büro; näher=Łódź;name")));

    // Search texts and replacements are truncated to 250 characters.
    QString const line(250, QLatin1Char('l'));
    fill(file, utf16(line + QLatin1Char('\n')));
    EXPECT_EQ(
        file.replaceAll_unicode(QString(300, QLatin1Char('L')), QString(300, QLatin1Char('k'))), 1);
    EXPECT_EQ(contentOf(file), utf16(QString(250, QLatin1Char('k')) + QLatin1Char('\n')));
}

TEST(FileSearcher, InsertsAndReplacesWithinItsBounds)
{
    _oxFileSearcher file;
    EXPECT_FALSE(file.insert(0, Text("x")));
    EXPECT_FALSE(file.replace(0, Text("x"), 0));
    struct {
        int pos;
        char const * text;
        int oldLen;
        bool result;
        char const * expected;
    } const cases[] = {
        {3, "ab", 6, true, "012ab9"},       {3, "ab", 7, false, "0123456789"},
        {10, "a", 0, false, "0123456789"},  {5, "a", INT_MAX, false, "0123456789"},
        {5, "abc", -1, true, "01234abc89"}, {8, "abcd", INT_MIN, true, "01234567ab"}};
    for (auto const & [pos, text, oldLen, result, expected] : cases) {
        SCOPED_TRACE(testing::Message() << pos << ' ' << text << ' ' << oldLen);
        fill(file, "0123456789");
        EXPECT_EQ(file.replace(pos, ShortText(text), oldLen), result);
        EXPECT_EQ(contentOf(file), expected);
    }
    fill(file, "0123456789");
    EXPECT_TRUE(file.insert(9, ShortText("ab")));
    EXPECT_FALSE(file.insert(12, ShortText("ab")));
    EXPECT_EQ(contentOf(file), "012345678ab9");
}

TEST(FileSearcher, ChangesItsSizeByMovingBetweenTwoBlocks)
{
    _oxFileSearcher file;
    fill(file, "0123456789");
    char * const first = file.data;
    EXPECT_EQ(file.capacity, headroom);
    EXPECT_TRUE(file.changeDataSize(-7, 0));
    EXPECT_FALSE(file.changeDataSize(0, headroom + 1));
    EXPECT_FALSE(file.changeDataSize(0, INT_MAX));
    EXPECT_TRUE(file.changeDataSize(1, -8));
    EXPECT_EQ(contentOf(file), "09");
    EXPECT_EQ(file.spare, first);
    EXPECT_EQ(file.capacity, 10 + headroom);
    EXPECT_TRUE(file.changeDataSize(2, 1));
    EXPECT_EQ(file.data, first) << "the call needs no allocation";
    file.data[2] = '!';

    // One call can add up to `headroom` bytes, or more if the existing block is large enough.
    EXPECT_TRUE(file.changeDataSize(1, headroom));
    EXPECT_TRUE(file.changeDataSize(1, headroom));
    EXPECT_TRUE(file.changeDataSize(1, -2 * headroom));
    EXPECT_EQ(contentOf(file), "09!");
    EXPECT_TRUE(file.changeDataSize(1, headroom + 1));
    EXPECT_EQ(file.data[headroom + 2], '9');
    file.freeBuffer();
    EXPECT_EQ(file.capacity + file.spareCapacity + file.size, 0);
}

TEST_F(SearcherFiles, SavesUnderTheNameOfTheLastFile)
{
    QByteArray const content("a\0b\r\n\x1A"
                             "c",
                             7);
    _oxFileSearcher file;
    EXPECT_FALSE(file.save(path("none")));
    EXPECT_FALSE(QFile::exists(path("none")));
    QString const name = writeFile(path("Łódź.ini"), content);
    ASSERT_TRUE(file.load(name));
    EXPECT_EQ(file.fileName, name);
    EXPECT_EQ(file.capacity, 7 + headroom);
    EXPECT_TRUE(file.insert(0, Text("#")));
    EXPECT_TRUE(file.save(path("copy")));
    EXPECT_EQ(contentOf(path("copy")), '#' + content);
    EXPECT_EQ(contentOf(name), content);
    EXPECT_EQ(file.replaceAll(Text("B"), Text("")), 1);
    EXPECT_TRUE(file.save(QString()));
    EXPECT_EQ(contentOf(path("copy")), QByteArray("#a\0\r\n\x1A"
                                                  "c",
                                                  7));

    // load() uses the existing block if it is large enough.
    char const * const block = file.data;
    ASSERT_TRUE(file.load(name));
    EXPECT_EQ(file.data, block);
    EXPECT_EQ(contentOf(file), content.toStdString());
    ASSERT_TRUE(file.load(writeFile(path("empty"), {})));
    EXPECT_EQ(file.size, 0);
    EXPECT_FALSE(file.save(QString()));
}

TEST_F(SearcherFiles, AFailedLoadOrSaveKeepsTheContent)
{
    _oxFileSearcher file;
    ASSERT_TRUE(file.load(writeFile(path("good"), "good")));
    QFile large(writeFile(path("large"), {}));
    ASSERT_TRUE(large.resize(qint64{_oxFileSearcher::largestFile} + 1));
    for (QString const & name : {path("missing"), path("."), QString(), large.fileName()}) {
        EXPECT_FALSE(file.load(name)) << name.toStdString();
        EXPECT_EQ(file.replaceAll(name, Text("good"), Text("bad")), 0);
        EXPECT_EQ(contentOf(file), "good");
        EXPECT_EQ(file.fileName, path("good"));
    }
    EXPECT_FALSE(file.save(path("no/folder")));
    EXPECT_EQ(contentOf(file), "good");
    EXPECT_EQ(file.fileName, path("no/folder"));
}

TEST_F(SearcherFiles, ReplacesInAFileAndWritesOnlyWhenThereIsAMatch)
{
    QString const name = writeFile(path("farm.ini"), "Server=old\nserver=OLD\n");
    _oxFileSearcher file;
    EXPECT_EQ(file.replaceAll(name, Text("old"), Text("newer")), 2);
    EXPECT_EQ(contentOf(name), "Server=newer\nserver=newer\n");
    EXPECT_EQ(file.replaceAll(name, ShortText("SERVER="), ShortText("s=")), 2);
    EXPECT_EQ(contentOf(name), "s=newer\ns=newer\n");

    QDateTime const before(QDate(2020, 2, 2), QTime(2, 2));
    QFile stamp(name);
    ASSERT_TRUE(stamp.open(QIODevice::ReadWrite));
    ASSERT_TRUE(stamp.setFileTime(before, QFileDevice::FileModificationTime));
    stamp.close();
    EXPECT_EQ(file.replaceAll(name, Text("old"), Text("new")), 0);
    EXPECT_EQ(QFileInfo(name).lastModified(), before);
}
