#include "shared/fs/file.h"
#include "shared/fs/file_sync.h"
#include "shared/fs/file_sync_steps.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QDir>
#include <QFile>

#include <thread>
#include <vector>

using namespace ox::tests;

namespace
{

using Text = _oxString8_evenSize<500>;

/// A test with a source and the name of a target that does not exist yet.
class FileSync : public FolderTest
{
  protected:
    FileSync()
    {
        QDir(folder.path()).mkdir(text("share"));
        QDir(folder.path()).mkdir(text("local"));
        source = writeFile(path("share/tool.exe"), "new");
        target = path("local/tool.exe");
        setTime(source, 1600000000);
    }

    static void setTime(QString const & name, __int64 seconds)
    {
        _oxTime time(seconds, true);
        EXPECT_TRUE(oxSetFileTime(name, &time));
    }

    static Text record(QString const & name) { return Text(name.toUtf8().constData()); }

    bool sync(int pause = -1, bool verbose = false)
    {
        errors.clear();
        info.clear();
        return syncCopy(record(source), record(target), true, &errors, &info, pause, verbose);
    }

    /// Returns `form` with each $ replaced by the path of the source, and each @ by that of the
    /// target.
    Text message(char const * form) const
    {
        QString result;
        for (QChar const c : text(form))
            result += c == u'$' ? source : c == u'@' ? target : QString(c);
        return Text(result);
    }

    QString source;
    QString target;
    Text errors;
    Text info;
};

} // namespace

TEST_F(FileSync, CopiesAMissingTargetWithItsTimeAndRights)
{
    EXPECT_TRUE(sync());
    EXPECT_EQ(errors, "");
    EXPECT_EQ(info, message("Copied $ => @. "));
    EXPECT_EQ(contentOf(target), "new");
    EXPECT_FALSE(QFile::exists(target + text("_old")));
    auto const all = QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    EXPECT_EQ(QFile::permissions(target) & all, all);
    _oxTime time;
    ASSERT_TRUE(oxFileExists(target, &time));
    EXPECT_EQ(time.value, 1600000000);
}

TEST_F(FileSync, SkipsATargetOfTheSameSizeAndTime)
{
    writeFile(target, "old");
    setTime(target, 1600000000);
    EXPECT_TRUE(sync());
    EXPECT_EQ(info, "");
    EXPECT_TRUE(sync(-1, true));
    EXPECT_EQ(info, message("No need to copy $ => @. "));
    EXPECT_EQ(errors, "");
    EXPECT_EQ(contentOf(target), "old");
}

TEST_F(FileSync, KeepsTheReplacedTargetUnderASecondName)
{
    for (auto const & [content, time] : {std::pair("old", 1600000001), {"older", 1600000000}}) {
        writeFile(target, content);
        setTime(target, time);
        EXPECT_TRUE(sync(0));
        EXPECT_EQ(info, message("Renaming dest file@;\nCopied $ => @. "));
        EXPECT_EQ(contentOf(target), "new");
        EXPECT_EQ(contentOf(target + text("_old")), content);
    }
}

TEST_F(FileSync, ReportsAFailedRenameAndStillCopies)
{
    writeFile(target, "older");
    ASSERT_TRUE(QDir(folder.path()).mkpath(target + text("_old/full")));
    EXPECT_TRUE(sync());
    EXPECT_TRUE(errors.startsWith(message("Unable to rename file! @ Error ")));
    EXPECT_EQ(contentOf(target), "new");
}

TEST_F(FileSync, CreatesOneMissingFolderAndNoMore)
{
    target = path("local/one/tool.exe");
    EXPECT_TRUE(sync());
    EXPECT_EQ(contentOf(target), "new");
    auto const all = QFile::ReadOther | QFile::WriteOther;
    EXPECT_EQ(QFile::permissions(path("local/one")) & all, all);

    target = path("local/two/levels/tool.exe");
    EXPECT_FALSE(sync());
    Text const folderName = record(path("local/two/levels/"));
    EXPECT_EQ(errors, Text("Destination folder does not exist! ") + folderName);
    EXPECT_FALSE(QFile::exists(path("local/two")));
}

TEST_F(FileSync, RefusesASourceThatIsMissingEmptyOrWithoutATime)
{
    writeFile(target, "kept");
    setTime(source, 0);
    EXPECT_FALSE(sync());
    EXPECT_EQ(errors, message("Source has no file time! $"));
    writeFile(source, "");
    EXPECT_FALSE(sync());
    EXPECT_EQ(errors, message("Source has no file size! $"));
    QFile::remove(source);
    EXPECT_FALSE(sync());
    EXPECT_EQ(errors, message("Source file does not exists! $"));
    EXPECT_EQ(info, "");
    EXPECT_EQ(contentOf(target), "kept");
    EXPECT_FALSE(syncCopy(record(source), record(target), true, nullptr, nullptr, -1, true));
}

TEST_F(FileSync, ReportsWhyTheCopyFailed)
{
    ASSERT_TRUE(QDir(folder.path()).mkpath(target + text("/full")));
    EXPECT_FALSE(sync(0));
    EXPECT_EQ(errors, message("Unable to open output file.$ => @"));
    EXPECT_EQ(info, "");
}

TEST_F(FileSync, NeverFollowsALinkAtTheTarget)
{
    if (QDir::separator() == u'\\')
        GTEST_SKIP() << "the creation of a link needs a privilege on this system";
    QString const elsewhere = path("local/elsewhere");
    ASSERT_TRUE(QFile::link(elsewhere, target));
    EXPECT_TRUE(sync());
    EXPECT_FALSE(QFile::exists(elsewhere));
    EXPECT_EQ(contentOf(target), "new");

    QFile::remove(target);
    ASSERT_TRUE(QFile::link(writeFile(elsewhere, "kept"), target));
    auto const before = QFile::permissions(elsewhere);
    EXPECT_TRUE(sync());
    EXPECT_EQ(contentOf(elsewhere), "kept");
    EXPECT_EQ(QFile::permissions(elsewhere), before);
    EXPECT_EQ(contentOf(target + text("_old")), "kept"); // the link itself was renamed to _old
    EXPECT_EQ(contentOf(target), "new");
}

TEST_F(FileSync, KeepsThePreviousFileWhenSeveralRunAtOnce)
{
    for (int round = 0; round < 20; ++round) {
        writeFile(target, "previous");
        QFile::remove(target + text("_old"));
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([this, pause = i % 2 - 1] {
                EXPECT_TRUE(syncCopy(record(source), record(target), false, nullptr, nullptr, pause,
                                     false));
            });
        for (std::thread & thread : threads)
            thread.join();
        EXPECT_EQ(contentOf(target), "new");
        ASSERT_EQ(contentOf(target + text("_old")), "previous");
    }
    EXPECT_EQ(QDir(path("local")).entryList(QDir::Files | QDir::Hidden).size(), 2);
}

TEST_F(FileSync, TruncatesItsTextsAtTheCapacity)
{
    errors = Text(QString(490, u'x'));
    QFile::remove(source);
    EXPECT_FALSE(syncCopy(record(source), record(target), true, &errors, nullptr, -1, false));
    EXPECT_EQ(errors, Text(QString(490, u'x') + text("Source fil")));
}

TEST_F(FileSync, FindsFilesWhoseNamesAreNotLatin1)
{
    if (QDir::separator() == u'\\')
        GTEST_SKIP() << "an 8-bit path is Latin-1 on this system";
    source = writeFile(path("share/\xd0\xb6.exe"), "new");
    target = path("local/\xd0\xb6.exe");
    EXPECT_TRUE(sync());
    EXPECT_TRUE(sync());
    EXPECT_EQ(contentOf(target), "new");
}

TEST_F(FileSync, CopiesAnUnfinishedExecutableAgain)
{
    QByteArray const unfinished("MZ\0", 3);
    int waits = 0;
    auto const run = [&](bool retry, Text * to, int pause) {
        waits = 0;
        writeFile(source, unfinished);
        setTime(source, 1600000000);
        QFile::remove(target);
        if (to)
            to->clear();
        return ox::fs::syncCopy(record(source), record(target), retry, to, &info, pause, false,
                                [&](int ms) {
                                    EXPECT_EQ(ms, 5000);
                                    writeFile(source, ++waits < 3 ? unfinished + '\0' : "MZ done");
                                    setTime(source, 1600000000 + waits);
                                });
    };
    EXPECT_TRUE(run(true, &errors, 0));
    EXPECT_EQ(waits, 3);
    EXPECT_EQ(contentOf(target), "MZ done");
    Text once("Last byte was empty. Waiting 5s, then start copy again. File: tool.exe .");
    EXPECT_EQ(errors, Text(once) + once + once);

    EXPECT_TRUE(run(false, &errors, 0));
    EXPECT_TRUE(run(true, nullptr, 0));
    EXPECT_TRUE(run(true, &errors, -1)); // a copy by the system call does not check for zeros
    target = path("local/tool.bin");
    EXPECT_TRUE(run(true, &errors, 0));
    EXPECT_EQ(errors, "");
    EXPECT_EQ(waits, 0);
    EXPECT_EQ(contentOf(target), unfinished);
}
