#include "tests/support/file_content.h"
#include "tests/support/this_build.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>

using namespace ox::tests;

namespace
{

/// Source folder "a" and target folder "b".
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

TEST_F(Syncing, CopiesNewAndChangedFiles)
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

TEST_F(Syncing, CopiesEmptyFiles)
{
    share.write(text("a/1"), "");
    share.write(text("a/2"), "");
    share.write(text("b/2"), "two");
    QStringList const command = {text("sync"), path("a"), path("b"), text("--json")};
    EXPECT_EQ(ToolRun(command).json().value(text("copied")), 2);
    EXPECT_EQ(synchronised(), (QStringList{text("1"), text("2"), text("2_old")}));
    EXPECT_EQ(contentOf(path("b/2")), "");
    EXPECT_EQ(contentOf(path("b/2_old")), "two");
    EXPECT_EQ(ToolRun(command).json().value(text("upToDate")), 2);
}

TEST_F(Syncing, ContinuesAfterAFailedFile)
{
    share.write(text("a/1"), "one");
    share.write(text("a/2"), "two");
    QDir(share.path()).mkpath(text("b/1"));
    ToolRun run({text("sync"), path("a"), path("b")});
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(run.output().trimmed().endsWith(text("1 copied, 0 up to date, 1 failed")));
    EXPECT_TRUE(run.errors().startsWith(text("oxtool: cannot update '%1': ").arg(path("b/1"))))
        << run.errors().toStdString();
    EXPECT_EQ(synchronised(), QStringList(text("2")));

    ToolRun missing({text("sync"), path("none"), path("b/none")});
    EXPECT_EQ(missing.status(), 1);
    EXPECT_TRUE(missing.errors().contains(text("cannot read '%1': ").arg(path("none"))));
}

TEST_F(Syncing, AcceptsRelativePathsAndCreatesOneFolder)
{
    share.write(text("a/1"), "one");
    QDir(share.path()).mkpath(text("a/sub"));
    ToolRun run({text("sync"), text("a"), text("c")}, share.path());
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    EXPECT_TRUE(run.output().trimmed().endsWith(
        text("1 copied, 0 up to date, 0 failed, folders skipped: 1")))
        << run.output().toStdString();
    ToolRun file({text("sync"), text("a/1"), text("d")}, share.path());
    EXPECT_EQ(file.status(), 0) << file.errors().toStdString();
    EXPECT_EQ(contentOf(path("c/1")), "one");
    EXPECT_EQ(contentOf(path("d")), "one");

    share.write(text("a/2"), "two");
    ToolRun deep({text("sync"), path("a"), path("x/y")});
    EXPECT_EQ(deep.status(), 1);
    EXPECT_EQ(deep.errors().count(text("cannot create folder")), 1) << deep.errors().toStdString();
    EXPECT_EQ(deep.errors().count(text("oxtool: ")), 1);
}

TEST_F(Syncing, LeavesTheTargetCompleteWhenStoppedOrKilled)
{
    if (isWindows)
        GTEST_SKIP() << "signals cannot be sent here";
    share.write(text("a/big"), QByteArray(3 << 20, 'x'));
    share.write(text("b/big"), "old");
    QStringList const command = {text("sync"), path("a"), path("b"), text("--pause")};
    auto const unfinished = [this] {
        return QDir(path("b")).entryList({text(".ox*")}, QDir::Files | QDir::Hidden);
    };
    for (char const * const signal : {"INT", "KILL"}) {
        ToolRun run(command + QStringList(text("100000")));
        EXPECT_TRUE(run.waitUntil([&] {
            QStringList const names = unfinished();
            return !names.isEmpty() && contentOf(path("b/") + names.first()).size() >= 1 << 20;
        }));
        run.send(signal);
        bool const isKilled = QLatin1String(signal) == QLatin1String("KILL");
        EXPECT_EQ(run.status(), isKilled ? 128 + 9 : 130);
        EXPECT_EQ(run.errors(),
                  isKilled ? QString()
                           : text("oxtool: stopped, target complete: '%1'\n").arg(path("b/big")));
        EXPECT_EQ(unfinished().size(), isKilled ? 1 : 0);
        EXPECT_EQ(contentOf(path("b/big")), "old");
        EXPECT_EQ(synchronised(), QStringList(text("big")));
    }
    EXPECT_EQ(ToolRun(command + QStringList(text("0"))).status(), 0);
    EXPECT_EQ(unfinished(), QStringList());
    EXPECT_EQ(synchronised(), (QStringList{text("big"), text("big_old")}));
    EXPECT_EQ(contentOf(path("b/big_old")), "old");
}
