#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QRegularExpression>

namespace
{

QStringList words(char const * line)
{
    return QString::fromLatin1(line).split(QLatin1Char(' '));
}

/// Runs a shell script in which $0 is the program. Returns both streams.
QString shell(char const * script, QStringList const & arguments = {})
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(
        QStringLiteral("sh"),
        QStringList{QStringLiteral("-c"), QString::fromLatin1(script), QStringLiteral(OX_TOOL)} +
            arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAll());
}

} // namespace

TEST(Program, AnswersWrongUseWithStatusTwoAndAWordOnStandardError)
{
    for (char const * line :
         {"nonsense", "refresh", "refresh a --map b", "refresh a --map =b",
          "refresh a --timeout -1", "pack a", "pack a b --format xy", "pack a b --header 1",
          "lock a", "lock a --status -- true", "lock a --json -- true", "crc", "layout a",
          "unpack a b", "ps a b", "top a", "top --interval 0", "top --count x"}) {
        ToolRun run(words(line));
        EXPECT_EQ(run.status(), 2) << line;
        EXPECT_FALSE(run.errors().isEmpty()) << line;
        EXPECT_TRUE(run.output().isEmpty()) << line;
    }
}

TEST(Program, HelpsWithAnExampleForEveryCommand)
{
    for (char const * command :
         {"refresh", "pack", "unpack", "inspect", "lock", "cp", "resume", "sync", "ls", "empty",
          "replace", "crc", "layout", "info", "ps", "top", "shm"}) {
        ToolRun run({QString::fromLatin1(command), QStringLiteral("--help")});
        EXPECT_EQ(run.status(), 0);
        EXPECT_TRUE(run.output().contains(QLatin1String("  oxtool ") + QLatin1String(command)));
    }
}

TEST(Program, TellsTheLayoutOfTheRecords)
{
    QJsonArray const records =
        ToolRun(words("layout --json")).json().value(QStringLiteral("records")).toArray();
    QStringList found;
    for (auto const & record : records)
        found << record.toObject().value(QStringLiteral("name")).toString() + QLatin1Char(' ') +
                     QString::number(record.toObject().value(QStringLiteral("size")).toInt());
    for (char const * known :
         {"_oxString8_evenSize<250> 254", "_oxString8_UnevenSize<15> 18",
          "_oxString8_AllSize<10> 14", "_oxString<250> 506", "_oxTime 8", "_oxTime32 4"})
        EXPECT_TRUE(found.contains(QString::fromLatin1(known))) << known;
}

TEST(Program, BearsAReaderThatGoesAwayAndTellsOfAFullDisk)
{
    EXPECT_EQ(shell("{ sleep 0.2; \"$0\" layout; echo status $? >&2; } | true"),
              QStringLiteral("status 1\n"));
    QString const full = shell("\"$0\" layout >/dev/full; echo status $?");
    EXPECT_TRUE(full.contains(QLatin1String("No space left on device"))) << full.toStdString();
    EXPECT_TRUE(full.endsWith(QLatin1String("status 1\n")));
}

TEST(Program, ShowsProgressOnATerminalOnly)
{
    Share const share;
    QString const file = share.path(QStringLiteral("farm.ini"));
    ToolRun holder({QStringLiteral("lock"), file, QStringLiteral("--"), QStringLiteral("sh"),
                    QStringLiteral("-c"), QStringLiteral("echo ready; exec sleep 60")});
    ASSERT_TRUE(holder.waitForOutput("ready"));
    EXPECT_FALSE(shell("\"$0\" lock \"$1\" --timeout 1000 -- true", {file})
                     .contains(QLatin1String("Waiting")));
    if (shell("script -qec true /dev/null >/dev/null 2>&1; echo $?") != QLatin1String("0\n"))
        GTEST_SKIP() << "there is no pseudo-terminal to be had here";
    EXPECT_TRUE(shell("script -qec \"'$0' lock '$1' --timeout 1000 -- true\" /dev/null", {file})
                    .contains(QLatin1String("Waiting for the lock of")));
}
