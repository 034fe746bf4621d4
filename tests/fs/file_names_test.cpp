// Without these macros, a string literal converts to QString. Some applications compile in this
// way.
#undef QT_NO_CAST_FROM_ASCII
#undef QT_NO_CAST_TO_ASCII

#include "shared/data/data_buffer.h"
#include "shared/data/file_searcher.h"
#include "shared/fs/access_rights.h"
#include "shared/fs/file.h"
#include "shared/fs/file_sync.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"

#include <QDir>
#include <QFile>

using namespace ox::tests;

namespace
{

/// A test that passes relative paths as file names, in each text type that applications use.
class FileNames : public FolderTest
{
  protected:
    FileNames() { QDir::setCurrent(folder.path()); }
    ~FileNames() override { QDir::setCurrent(before_); }

    /// Checks that every function that accepts `name` as a file name uses the file `file` and
    /// creates no other file.
    template <typename Name>
    void expectNames(Name const & name, QString const & file)
    {
        SCOPED_TRACE(file.toStdString());
        char block[] = "abc";
        char back[4] = "";
        auto const expectBack = [&](int result) {
            EXPECT_EQ(result, 0);
            EXPECT_STREQ(back, block);
            std::fill(back, back + 3, '-');
            expectOnly(file);
        };
        using Buffer = _OX_DataBuffer;
        EXPECT_EQ(Buffer::saveToFile(name, true, block, 3, NULL, 0), 0);
        expectBack(Buffer::loadFromFile(name, true, back, 3, nullptr, 0));
        EXPECT_EQ(Buffer::saveToFileCompressed(name, true, block, 3, nullptr, 0), 0);
        expectBack(Buffer::loadFromFileCompressed(name, true, back, 3, nullptr, 0));
        EXPECT_EQ(Buffer::saveGzipFile(name, block, 3), 0);
        expectBack(Buffer::loadGzipFile(name, back, 3, true));
        EXPECT_EQ(Buffer::saveToFileCompressedHeader(name, block, 3), 0);
        expectBack(Buffer::loadFromFileCompressedHeader(name, back, 3));
        EXPECT_EQ(Buffer::compressNSaveToFile(name, block, 3), 0);
        expectBack(Buffer::compressNLoadFromFile(name, back, 3, true));

        Buffer buffer;
        buffer.append(block, 3);
        EXPECT_TRUE(buffer.saveToFile(name, true) && buffer.loadFromFile(name, true));
        EXPECT_TRUE(buffer.saveToFileCompressed(name) && buffer.loadFromFileCompressed(name, true));
        EXPECT_TRUE(writeToLogFile(name, "line", true, false));
        EXPECT_EQ(contentOf(file).trimmed(), "line");
        EXPECT_TRUE(oxSetFileRights_ReadWriteExecuteAll(name));
        expectOnly(file);
        QFile::remove(file);
        ASSERT_TRUE(QDir().mkdir(file));
        EXPECT_TRUE(oxSetFolderRights_ReadWriteAll(name, false));
        QDir().rmdir(file);
    }

    void expectOnly(QString const & file) const
    {
        EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), QStringList(file));
    }

  private:
    QString before_ = QDir::currentPath();
};

} // namespace

TEST_F(FileNames, AreAcceptedInEveryTypeOfText)
{
    expectNames("literal", "literal");
    expectNames(static_cast<char const *>("pointer"), "pointer");
    expectNames(_oxString8_evenSize<3000>("even3000"), "even3000");
    expectNames(_oxString8_UnevenSize<25>("uneven25"), "uneven25");
    expectNames(_oxString<100>("wide100"), "wide100");
    expectNames(std::string("std"), "std");
    expectNames(QByteArray("bytes"), "bytes");
    expectNames(QLatin1String("latin1"), "latin1");
    expectNames(QString("one") + "two", "onetwo");
}

TEST_F(FileNames, KeepLettersThatLatin1Lacks)
{
    QString const name = QString::fromUtf8("日本é.oxdb");
    expectNames(name, name);
    expectNames(_oxString<250>(name), name);
    writeFile(name, "a b");
    _oxFileSearcher searcher;
    EXPECT_TRUE(searcher.load(name) && searcher.save(QString()));
    expectOnly(name);
    QFile::remove(name);
    bool const recordsAreUtf8 = QDir::separator() == u'/';
    if (recordsAreUtf8)
        expectNames(_oxString8_evenSize<250>("日本"), QString::fromUtf8("日本"));
    QString const tooLong(501, u'x');
    char byte = 0;
    EXPECT_EQ(_OX_DataBuffer::saveToFile(tooLong, false, &byte, 1, nullptr, 0),
              _OX_DataBuffer::NotOpened);
}

TEST_F(FileNames, AreSynchronisedIfTheyFitARecord)
{
    auto const sync = [](auto const & source, auto const & target) {
        _oxString8_evenSize<500> errors;
        bool const done = syncCopy(source, target, false, &errors, nullptr, -1, false);
        EXPECT_EQ(done, errors.isEmpty());
        return done ? QString("done") : QString(errors);
    };
    QString const folderName = folder.path() + QDir::separator();
    _oxString8_evenSize<500> const record(folderName + "a");
    writeFile(record);
    EXPECT_EQ(sync(record, _oxString8_evenSize<500>(folderName + "b")), "done");
    EXPECT_EQ(sync(QByteArray("a"), folderName + "c"), "done");
    EXPECT_EQ(sync("missing", "b"), "Source file does not exists! missing");

    bool const canHold = QDir::separator() == u'/';
    QString const name = QString::fromUtf8("日本");
    QString const source = writeFile(folderName + name);
    EXPECT_EQ(sync(source, source + "x"), canHold ? "done" : "Source file does not exists! ");
    EXPECT_EQ(sync(record, source + "y"), canHold ? "done" : "Destination folder does not exist! ");
    EXPECT_EQ(QDir(folderName).entryList(QDir::Files).size(), canHold ? 6 : 4);
    EXPECT_EQ(sync(QString(501, u'x'), source), "Source file does not exists! ");
}
