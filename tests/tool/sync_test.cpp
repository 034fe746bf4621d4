#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>

namespace
{

QString text(char const * latin1)
{
    return QString::fromLatin1(latin1);
}

/// The folder of the master copies, a, and a folder to bring up to date, b.
class Syncing : public testing::Test
{
  protected:
    Syncing()
    {
        QDir(share.path()).mkdir(text("a"));
        QDir(share.path()).mkdir(text("b"));
    }

    QString path(char const * name) const
    {
        return QDir::toNativeSeparators(share.path(text(name)));
    }
    QStringList synchronised() const { return QDir(path("b")).entryList(QDir::Files); }

    Share const share;
};

} // namespace

TEST_F(Syncing, BringsTheFilesOfAFolderUpToDate)
{
    share.write(text("a/one.exe"), "1");
    share.write(text("a/two.EXE"), "22");
    share.write(text("a/note.txt"), "3");
    share.write(text("b/one.exe"), "old");
    QStringList const command = {text("sync"), path("a"), path("b"), text("--ends"), text(".exe")};
    ToolRun first(command + QStringList{text("--json")});
    QJsonObject const result = first.json();
    EXPECT_EQ(result.value(text("copied")), 2);
    EXPECT_EQ(result.value(text("failed")), 0);
    EXPECT_EQ(synchronised(), (QStringList{text("one.exe"), text("one.exe_old"), text("two.EXE")}));
    EXPECT_EQ(contentOf(path("b/one.exe")), "1");
    EXPECT_EQ(contentOf(path("b/one.exe_old")), "old");

    ToolRun again(command);
    EXPECT_EQ(again.status(), 0);
    EXPECT_TRUE(again.output().contains(text("0 copied, 2 up to date, 0 failed")));
}

TEST_F(Syncing, GoesOnBehindAFileThatFails)
{
    share.write(text("a/1"), "");
    share.write(text("a/2"), "two");
    ToolRun run({text("sync"), path("a"), path("b")});
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(run.output().contains(text("1 copied, 0 up to date, 1 failed")));
    EXPECT_TRUE(run.errors().contains(text("Source has no file size! ") + path("a/1")));
    EXPECT_EQ(synchronised(), QStringList(text("2")));

    ToolRun missing({text("sync"), path("none"), path("b/none")});
    EXPECT_EQ(missing.status(), 1);
    EXPECT_TRUE(missing.errors().contains(text("Source file does not exists! ") + path("none")));
}

TEST_F(Syncing, TakesAnIncompleteFileAwayWhenStopped)
{
    if (QDir::separator() == u'\\')
        GTEST_SKIP() << "signals cannot be sent here";
    share.write(text("a/big"), QByteArray(3 << 20, 'x'));
    share.write(text("b/big"), "old");
    ToolRun run({text("sync"), path("a"), path("b"), text("--pause"), text("100000")});
    EXPECT_TRUE(run.waitUntil([this] { return contentOf(path("b/big")).size() >= 1 << 20; }));
    run.send("INT");
    EXPECT_EQ(run.status(), 130);
    EXPECT_EQ(
        run.errors(),
        text("oxtool: stopped. There is no %1; the former one is %1_old.\n").arg(path("b/big")));
    EXPECT_EQ(synchronised(), QStringList(text("big_old")));
}
