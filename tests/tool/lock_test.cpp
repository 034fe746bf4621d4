#include "tests/support/golden.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QFile>

using namespace ox::tests;

namespace
{

QStringList lock(QString const & file, QStringList const & command)
{
    return QStringList{QStringLiteral("lock"), file, QStringLiteral("--")} + command;
}

QStringList shell(char const * script)
{
    return {QStringLiteral("sh"), QStringLiteral("-c"), QString::fromLatin1(script)};
}

QJsonObject statusOf(QString const & file)
{
    return ToolRun(
               {QStringLiteral("lock"), QStringLiteral("--status"), file, QStringLiteral("--json")})
        .json();
}

} // namespace

TEST(Lock, ReturnsTheStatusOfTheCommandAndReleasesTheLock)
{
    Share const share;
    QString const file = share.path(QStringLiteral("farm.ini"));
    struct Case {
        QStringList command;
        int status;
    };
    for (Case const & each : {
             Case{shell("exit 0"), 0},
             Case{shell("exit 3"), 3},
             Case{shell("kill -KILL $$"), 137},
             Case{{share.path(QStringLiteral("none"))}, 127},
             Case{{share.path()}, 126},
         }) {
        EXPECT_EQ(ToolRun(lock(file, each.command)).status(), each.status);
        EXPECT_EQ(share.names(), QStringList());
    }
}

TEST(Lock, PassesArgumentsAndStreamsButNotTheLock)
{
    Share const share;
    QString const file = share.path(QStringLiteral("farm.ini"));
    ToolRun run(lock(file, shell("ls \"$1\"; echo \"$@\"; ls -l /proc/self/fd; echo error >&2") +
                               QStringList{QStringLiteral("sh"), share.path(), QStringLiteral("--"),
                                           QStringLiteral("--help")}));
    EXPECT_EQ(run.errors(), QStringLiteral("error\n"));
    EXPECT_TRUE(run.output().startsWith(QLatin1String("farm.ini_lock.txt\n")));
    EXPECT_TRUE(run.output().contains(QLatin1String(" -- --help\n")));
    EXPECT_EQ(run.output().count(QLatin1String("_lock.txt")), 1);
}

TEST(Lock, PassesStopRequestsToTheCommandAndWaitsForItsEnd)
{
    struct Case {
        char const * script;
        char const * signal;
        int status;
    };
    for (Case const & each : {
             Case{"trap 'sleep 0.3; exit 7' TERM; echo ready; while :; do sleep 0.05; done", "TERM",
                  7},
             Case{"echo ready; exec sleep 60", "INT", 130},
         }) {
        Share const share;
        ToolRun run(lock(share.path(QStringLiteral("farm.ini")), shell(each.script)));
        ASSERT_TRUE(run.waitForOutput("ready"));
        run.send(each.signal);
        EXPECT_EQ(run.status(), each.status);
        EXPECT_EQ(share.names(), QStringList());
    }
}

TEST(Lock, DoesNotReportAnUnknownStateAsFree)
{
    Share const share;
    for (QString const & file :
         {share.path(QStringLiteral("missing/farm.ini")), QStringLiteral("P:\\jobs\\farm.ini"),
          QStringLiteral("\\\\farm\\share\\farm.ini")}) {
        ToolRun run({QStringLiteral("lock"), QStringLiteral("--status"), file});
        EXPECT_EQ(run.status(), 1);
        EXPECT_EQ(run.output(), QString());
        EXPECT_TRUE(run.errors().contains(QLatin1String("No such file or directory")))
            << run.errors().toStdString();
    }
}

TEST(Lock, ShowsTheHolderAndWhetherItIsAlive)
{
    Share const share;
    QString const file = share.path(QStringLiteral("farm.ini"));
    QString const lockFile = file + QLatin1String("_lock.txt");
    EXPECT_FALSE(statusOf(file).value(QStringLiteral("held")).toBool(true));

    ToolRun holder(lock(file, shell("echo ready; exec sleep 60")));
    ASSERT_TRUE(holder.waitForOutput("ready"));
    QJsonObject const held = statusOf(file);
    EXPECT_TRUE(held.value(QStringLiteral("held")).toBool());
    EXPECT_TRUE(held.value(QStringLiteral("live")).toBool());
    EXPECT_TRUE(held.value(QStringLiteral("who")).toString().contains(QLatin1String(" oxtool ")));
    QDateTime const since =
        QDateTime::fromString(held.value(QStringLiteral("since")).toString(), Qt::ISODate);
    EXPECT_LT(qAbs(since.secsTo(QDateTime::currentDateTimeUtc())), 60);

    holder.send("KILL");
    EXPECT_EQ(holder.status(), 137);
    EXPECT_FALSE(statusOf(file).value(QStringLiteral("live")).toBool(true));
    EXPECT_FALSE(statusOf(file).value(QStringLiteral("stale")).toBool(true));
    QStringList const next = {QStringLiteral("lock"),      file,
                              QStringLiteral("--timeout"), QStringLiteral("250"),
                              QStringLiteral("--"),        QStringLiteral("true")};
    EXPECT_EQ(ToolRun(next).status(), 1);

    QFile aged(lockFile);
    ASSERT_TRUE(aged.open(QIODevice::ReadWrite));
    aged.setFileTime(QDateTime::currentDateTime().addSecs(-10801),
                     QFileDevice::FileModificationTime);
    aged.close();
    EXPECT_TRUE(statusOf(file).value(QStringLiteral("stale")).toBool());
    EXPECT_EQ(ToolRun(next).status(), 0);
    EXPECT_EQ(share.names(), QStringList());
}
