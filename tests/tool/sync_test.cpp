#include "tests/support/file_content.h"
#include "tests/support/this_build.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDir>

using namespace ox::tests;

namespace
{

/// Source folder "a" and target folder "b".
class Syncing : public testing::Test
{
  protected:
    Syncing()
    {
        QDir(share.path()).mkdir(u"a"_q);
        QDir(share.path()).mkdir(u"b"_q);
    }

    QString path(char const * name) const
    {
        return QDir::toNativeSeparators(share.path(text(name)));
    }
    QStringList synchronised() const { return QDir(path("b")).entryList(QDir::Files); }

    Share const share;
    QStringList const folders = {path("a"), path("b")};
};

} // namespace

TEST_F(Syncing, CopiesNewAndChangedFiles)
{
    share.write(u"a/empty.exe"_q, "");
    share.write(u"a/two.EXE"_q, "22");
    share.write(u"a/note.txt"_q, "3");
    share.write(u"b/empty.exe"_q, "old");
    ToolRun first("sync %1 %2 --ends .exe --json", folders);
    EXPECT_EQ(first.json().value(u"copied"_q), 2);
    EXPECT_EQ(first.json().value(u"failed"_q), 0);
    EXPECT_EQ(synchronised(), words("empty.exe empty.exe_old two.EXE"));
    EXPECT_EQ(contentOf(path("b/empty.exe")), "");
    EXPECT_EQ(contentOf(path("b/empty.exe_old")), "old");
    ToolRun again("sync %1 %2 --ends .exe", folders);
    EXPECT_EQ(again.status(), 0);
    EXPECT_TRUE(again.output().contains(u"0 copied, 2 up to date, 0 failed"_q));
}

TEST_F(Syncing, ContinuesAfterAFailedFile)
{
    share.write(u"a/1"_q, "one");
    share.write(u"a/2"_q, "two");
    QDir(share.path()).mkpath(u"b/1"_q);
    ToolRun run("sync %1 %2", folders);
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(run.output().trimmed().endsWith(u"1 copied, 0 up to date, 1 failed"_q));
    EXPECT_TRUE(run.errors().startsWith(u"oxtool: cannot update '%1': "_q.arg(path("b/1"))))
        << run.errors().toStdString();
    EXPECT_EQ(synchronised(), words("2"));
    expectError("sync %1 %2", {path("none"), path("b/none")}, 5,
                u"cannot read '%1': "_q.arg(path("none")));
}

TEST_F(Syncing, AcceptsRelativePathsAndCreatesOneFolder)
{
    share.write(u"a/1"_q, "one");
    QDir(share.path()).mkpath(u"a/sub"_q);
    ToolRun run(words("sync a c"), share.path());
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    EXPECT_TRUE(
        run.output().trimmed().endsWith(u"1 copied, 0 up to date, 0 failed, folders skipped: 1"_q))
        << run.output().toStdString();
    EXPECT_EQ(ToolRun(words("sync a/1 d"), share.path()).status(), 0);
    EXPECT_EQ(contentOf(path("c/1")), "one");
    EXPECT_EQ(contentOf(path("d")), "one");

    share.write(u"a/2"_q, "two");
    ToolRun deep("sync %1 %2", {path("a"), path("x/y")});
    EXPECT_EQ(deep.status(), 1);
    EXPECT_EQ(deep.errors().count(u"cannot create folder"_q), 1) << deep.errors().toStdString();
    EXPECT_EQ(deep.errors().count(u"oxtool: "_q), 1);
}

TEST_F(Syncing, LeavesTheTargetCompleteWhenStopped)
{
    if (isWindows)
        GTEST_SKIP() << "signals cannot be sent here";
    share.write(u"a/big"_q, QByteArray(3 << 20, 'x'));
    share.write(u"b/big"_q, "old");
    ToolRun run("sync %1 %2 --pause 100000", folders);
    EXPECT_TRUE(run.waitUntil([&] {
        QDir const target(path("b"));
        QStringList const names = target.entryList({u".ox*"_q}, QDir::Files | QDir::Hidden);
        return !names.isEmpty() && contentOf(target.filePath(names[0])).size() >= 1 << 20;
    }));
    run.send("INT");
    EXPECT_EQ(run.status(), 130);
    EXPECT_EQ(run.errors(), u"oxtool: stopped, target complete: '%1'\n"_q.arg(path("b/big")));
    EXPECT_EQ(contentOf(path("b/big")), "old");
    EXPECT_EQ(QDir(path("b")).entryList(QDir::Files | QDir::Hidden), words("big"));
}
