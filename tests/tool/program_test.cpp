#include "tests/support/file_content.h"
#include "tests/support/this_build.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QRegularExpression>

using namespace ox::tests;

namespace
{

QStringList words(char const * line)
{
    return QString::fromLatin1(line).split(QLatin1Char(' '));
}

} // namespace

TEST(Program, ReportsWrongArgumentsWithStatusTwo)
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

TEST(Program, PrintsAnExampleInTheHelpOfEachCommand)
{
    for (char const * command :
         {"refresh", "pack", "unpack", "inspect", "lock", "cp", "resume", "sync", "ls", "empty",
          "replace", "crc", "layout", "info", "ps", "top", "shm"}) {
        ToolRun run({QString::fromLatin1(command), QStringLiteral("--help")});
        EXPECT_EQ(run.status(), 0);
        EXPECT_TRUE(run.output().contains(QLatin1String("  oxtool ") + QLatin1String(command)));
    }
}

TEST(Program, PrintsTheLayoutOfTheRecords)
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

TEST(Program, ReportsAClosedPipeAndAFullDisk)
{
    EXPECT_EQ(toolShell().printed("{ sleep 0.2; \"$0\" layout; echo status $? >&2; } | true"),
              QStringLiteral("status 1\n"));
    QString const full = toolShell().printed("\"$0\" layout >/dev/full; echo status $?");
    EXPECT_TRUE(full.contains(QLatin1String("No space left on device"))) << full.toStdString();
    EXPECT_TRUE(full.endsWith(QLatin1String("status 1\n")));
}

TEST(Program, WorksWithoutStandardStreams)
{
    Share const share;
    QString const file = share.write(QStringLiteral("file"), "content");
    EXPECT_EQ(toolShell().printed(
                  "\"$0\" lock \"$1\" -- true >&-; echo status $?;"
                  "\"$0\" cp \"$1\" \"$1.copy\" >&- 2>&- <&-; echo status $?; cat \"$1.copy\";"
                  "\"$0\" pack \"$1\" \"$1.db\" >&- && \"$0\" unpack \"$1.db\" 2>&1 >&-; echo $?",
                  {file}),
              QStringLiteral("status 0\nstatus 0\ncontentoxtool: cannot write to standard "
                             "output: Bad file descriptor\n1\n"));
}

TEST(Program, EscapesControlCharactersOfUntrustedTexts)
{
    QString const hostile = QStringLiteral("a\u001B[2J\n\u009B2J\u202Eb\u2028\U000E0001");
    QString const shown =
        QStringLiteral("a\\u001B[2J\\u000A\\u009B2J\\u202Eb\\u2028\\uDB40\\uDC01");
    Share const share;
    QString const file = share.write(hostile, "content");
    writeFile(file + QStringLiteral("_lock.txt"), hostile.toUtf8());
    for (QStringList const & command :
         {QStringList{QStringLiteral("ls"), share.path()},
          QStringList{QStringLiteral("crc"), file, file + QStringLiteral("none")},
          QStringList{QStringLiteral("cp"), file, file + QStringLiteral("copy")},
          QStringList{QStringLiteral("inspect"), file},
          QStringList{QStringLiteral("replace"), file, QStringLiteral("x"), QStringLiteral("y")},
          QStringList{QStringLiteral("refresh"), file, QStringLiteral("--timeout"),
                      QStringLiteral("0")},
          QStringList{QStringLiteral("lock"), QStringLiteral("--status"), file},
          QStringList{QStringLiteral("sync"), file, file + QStringLiteral("master")}}) {
        ToolRun run(command);
        run.status();
        QString text = run.output() + run.errors();
        EXPECT_TRUE(text.contains(shown)) << command[0].toStdString() << text.toStdString();
        EXPECT_FALSE(text.remove(u'\n').contains(
            QRegularExpression(QStringLiteral("[\\p{C}\\p{Zl}\\p{Zp}]"))))
            << command[0].toStdString() << text.toStdString();
    }
    EXPECT_TRUE(ToolRun({hostile}).errors().contains(QStringLiteral("a\\u001B[2J")));
    ToolRun list({QStringLiteral("ls"), file, QStringLiteral("--json")});
    EXPECT_EQ(list.json().value(QStringLiteral("path")), file);
    EXPECT_FALSE(list.output().contains(QChar(0x9B))) << list.output().toStdString();
}

TEST(Program, WorksWithoutThreadsOrFailsAtTheStart)
{
    if (hasAddressSanitizer)
        GTEST_SKIP() << "the address sanitizer needs more memory than the test allows";
    // The stack of a thread exceeds the memory limit of the process.
    Share const share;
    QString const file = share.write(QStringLiteral("file"), "content");
    EXPECT_EQ(
        toolShell().printed("ulimit -Ss 4000000; ulimit -v 2000000; \"$0\" crc \"$1\" >/dev/null; "
                            "echo status $?; \"$0\" cp \"$1\" \"$1.copy\"; echo status $?",
                            {file}),
        QStringLiteral("status 0\noxtool: cannot start a thread for stop requests: "
                       "Resource temporarily unavailable\nstatus 1\n"));
    EXPECT_EQ(share.names(), QStringList(QStringLiteral("file")));
}

TEST(Program, ShowsProgressInOneLineOfATerminalOnly)
{
    // Each letter takes two columns, a combining mark none.
    QString const wideName = QStringLiteral("\u65E5\u672C\U0001F600\u0301").repeated(10);
    Share const share;
    QString const file = share.path(wideName);
    ToolRun holder({QStringLiteral("lock"), file, QStringLiteral("--"), QStringLiteral("sh"),
                    QStringLiteral("-c"), QStringLiteral("echo ready; exec sleep 60")});
    ASSERT_TRUE(holder.waitForOutput("ready"));
    EXPECT_FALSE(toolShell()
                     .printed("\"$0\" lock \"$1\" --timeout 1000 -- true", {file})
                     .contains(QLatin1String("Waiting")));
    if (!hasTerminals())
        GTEST_SKIP() << "there is no script with a pseudo-terminal";
    QString const shown = toolShell().printed(
        "script -qec \"stty columns 60; '$0' lock '$1' --timeout 1000 -- true\" /dev/null", {file});
    QRegularExpression const frame(QStringLiteral("\\033\\[K(Waiting for[^\\033]* \\d\\.\\d s)"));
    QString const line = frame.match(shown).captured(1);
    EXPECT_TRUE(line.contains(QStringLiteral("..."))) << shown.toStdString();
    int columns = 0;
    for (char32_t const letter : line.toStdU32String())
        columns += letter == 0x301 ? 0 : letter < 0x80 ? 1 : 2;
    EXPECT_TRUE(columns > 50 && columns < 60) << shown.toStdString();
}
