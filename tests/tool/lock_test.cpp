#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>

using namespace ox::tests;

namespace
{

class Lock : public testing::Test
{
  protected:
    /// Returns the arguments that run a shell script under the lock.
    QStringList script(char const * commands) const
    {
        return words("lock %1 -- sh -c", {file}) << text(commands);
    }
    QJsonObject status() const { return ToolRun("lock --status %1 --json", {file}).json(); }

    Share const share;
    QString const file = share.path(u"farm.ini"_q);
};

} // namespace

TEST_F(Lock, ReturnsTheStatusOfTheCommandAndReleasesTheLock)
{
    for (auto const & [command, status] :
         {std::pair(script("exit 3"), 3), std::pair(script("kill -KILL $$"), 137),
          std::pair(words("lock %1 -- %1none", {file}), 127),
          std::pair(words("lock %1 -- %2", {file, share.path()}), 126)}) {
        EXPECT_EQ(ToolRun(command).status(), status);
        EXPECT_EQ(share.names(), QStringList());
    }
}

TEST_F(Lock, PassesArgumentsAndStreamsButNotTheLock)
{
    ToolRun run(script("ls \"$1\"; echo \"$@\"; ls -l /proc/self/fd; echo error >&2") +
                words("sh %1 -- --help", {share.path()}));
    EXPECT_EQ(run.errors(), u"error\n"_q);
    EXPECT_TRUE(run.output().startsWith(u"farm.ini_lock.txt\n"_q));
    EXPECT_TRUE(run.output().contains(u" -- --help\n"_q));
    EXPECT_EQ(run.output().count(u"_lock.txt"_q), 1);
}

TEST_F(Lock, PassesStopRequestsToTheCommandAndWaitsForItsEnd)
{
    for (auto const & [commands, signal, status] :
         {std::tuple("trap 'sleep 0.3; exit 7' TERM; echo ready; while :; do sleep 0.05; done",
                     "TERM", 7),
          std::tuple("echo ready; exec sleep 60", "INT", 130)}) {
        ToolRun run(script(commands));
        ASSERT_TRUE(run.waitForOutput("ready"));
        run.send(signal);
        EXPECT_EQ(run.status(), status);
        EXPECT_EQ(share.names(), QStringList());
    }
}

TEST_F(Lock, DoesNotReportAnUnknownStateAsFree)
{
    for (QString const & name : {share.path(u"missing/farm.ini"_q), u"P:\\jobs\\farm.ini"_q,
                                 u"\\\\farm\\share\\farm.ini"_q})
        expectError("lock --status %1", {name}, 5, u"No such file or directory"_q);
}

TEST_F(Lock, ShowsTheHolderAndWhetherItIsAlive)
{
    EXPECT_FALSE(status().value(u"held"_q).toBool(true));
    ToolRun holder(script("echo ready; exec sleep 60"));
    ASSERT_TRUE(holder.waitForOutput("ready"));
    QJsonObject const held = status();
    EXPECT_TRUE(held.value(u"held"_q).toBool());
    EXPECT_TRUE(held.value(u"live"_q).toBool());
    EXPECT_TRUE(held.value(u"who"_q).toString().contains(u" oxtool "_q));
    auto const since = QDateTime::fromString(held.value(u"since"_q).toString(), Qt::ISODate);
    EXPECT_LT(qAbs(since.secsTo(QDateTime::currentDateTimeUtc())), 60);

    holder.send("KILL");
    EXPECT_EQ(holder.status(), 137);
    EXPECT_FALSE(status().value(u"live"_q).toBool(true));
    EXPECT_FALSE(status().value(u"stale"_q).toBool(true));
    QStringList const next = words("lock %1 --timeout 250 -- true", {file});
    EXPECT_EQ(ToolRun(next).status(), 4);

    QFile aged(file + u"_lock.txt"_q);
    ASSERT_TRUE(aged.open(QIODevice::ReadWrite));
    aged.setFileTime(QDateTime::currentDateTime().addSecs(-10801),
                     QFileDevice::FileModificationTime);
    aged.close();
    EXPECT_TRUE(status().value(u"stale"_q).toBool());
    EXPECT_EQ(ToolRun(next).status(), 0);
    EXPECT_EQ(share.names(), QStringList());
}

TEST_F(Lock, DoesNotWaitWithoutATimeoutAndReturnsTheChosenStatus)
{
    ToolRun holder(script("echo ready; exec sleep 60"));
    ASSERT_TRUE(holder.waitForOutput("ready"));
    for (auto const & [options, expected] :
         {std::pair("lock %1 --timeout 0 -- true", 4),
          std::pair("lock %1 --timeout 0 --conflict-exit-code 75 -- true", 75),
          std::pair("lock --break %1", 4)})
        expectError(options, {file}, expected, u" oxtool "_q);
    EXPECT_EQ(share.names(), QStringList(u"farm.ini_lock.txt"_q));
}

TEST_F(Lock, IsBrokenOnlyWhenLeftBehindAndIsListedInItsTree)
{
    QDir().mkpath(share.path(u"jobs"_q));
    QFile::link(share.path(), share.path(u"jobs/loop"_q));
    QString const left = share.path(u"jobs/left"_q);
    share.write(u"jobs/left_lock.txt"_q, "\n File locked by: a\u001B[2Jb\n Time locked: x\n");
    ToolRun holder(script("echo ready; exec sleep 60"));
    ASSERT_TRUE(holder.waitForOutput("ready"));
    auto const list = [&](char const * line) {
        QJsonObject lives;
        QJsonArray const locks = ToolRun(line, {share.path()}).json().value(u"locks"_q).toArray();
        for (QJsonValue const & lock : locks)
            lives.insert(lock[u"file"_q].toString(), lock[u"live"_q]);
        return lives;
    };
    EXPECT_EQ(list("locks %1 --json"), QJsonObject({{file, true}}));
    EXPECT_EQ(list("locks %1 --json -r"), QJsonObject({{file, true}, {left, false}}));
    ToolRun watch("locks %1 -r --watch --json --interval 50", {share.path()});
    ASSERT_TRUE(watch.waitForOutput("\\u001b[2J"));

    EXPECT_EQ(ToolRun("lock --break %1", {left}).status(), 0);
    EXPECT_TRUE(watch.waitForOutput("\"held\":false"));
    QJsonObject const again = ToolRun("lock --break %1 --json", {left}).json();
    EXPECT_FALSE(again.value(u"removed"_q).toBool(true));
    EXPECT_EQ(list("locks %1 --json -r").keys(), QStringList(file));
    expectError("locks %1none %1", {share.path()}, 5, u"/none': No such file"_q);
}
