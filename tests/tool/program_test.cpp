#include "tests/support/file_content.h"
#include "tests/support/this_build.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

using namespace ox::tests;

TEST(Program, ReportsWrongArgumentsWithStatusTwo)
{
    for (char const * line :
         {"nonsense", "refresh", "refresh a --map b", "refresh a --map =b",
          "refresh a --timeout -1", "pack a", "pack a b --format xy", "pack a b --header 1",
          "lock a", "lock a --status -- true", "lock a --json -- true", "crc", "ps a b",
          "top --interval 0", "top --count x"}) {
        ToolRun run(line);
        EXPECT_EQ(run.status(), 2) << line;
        EXPECT_FALSE(run.errors().isEmpty()) << line;
        EXPECT_EQ(run.output().isEmpty(), !text(line).contains(u"--json"_q)) << line;
    }
}

TEST(Program, PrintsAnExampleInTheHelpOfEachCommand)
{
    for (char const * command :
         {"refresh", "pack",  "unpack",  "inspect", "lock",    "cp",    "resume", "sync",
          "ls",      "empty", "replace", "crc",     "layout",  "info",  "ps",     "top",
          "kill",    "shm",   "locks",   "verify",  "path",    "error", "encode", "decode",
          "space",   "time",  "follow",  "crash",   "shm show"}) {
        ToolRun run(words(command) + words("--help"));
        EXPECT_EQ(run.status(), 0);
        EXPECT_TRUE(run.output().contains(u"  oxtool "_q + QLatin1String(command)));
        ToolRun same(words("help") + words(command));
        EXPECT_EQ(same.status(), 0);
        EXPECT_EQ(same.output(), run.output());
    }
    EXPECT_EQ(ToolRun("-V").output(), ToolRun("version").output());
    EXPECT_TRUE(ToolRun("crc [a,b]").errors().contains(u"'[a,b]'"_q));
}

TEST(Program, ReportsUnknownWordsWithTheNearestMatch)
{
    for (auto const & [line, message] :
         {std::pair("refersh a", "unknown command 'refersh'; did you mean 'refresh'?"),
          std::pair("pakc --help", "unknown command 'pakc'; did you mean 'pack'?"),
          std::pair("shm shwo --bytes 1", "unknown command 'shm shwo'; did you mean 'shm show'?"),
          std::pair("help lokc", "unknown command 'lokc'; did you mean 'lock'?"),
          std::pair("nonsense", "unknown command 'nonsense'"),
          std::pair("ls --sotr", "unknown option '--sotr'; did you mean '--sort'?"),
          std::pair("lock a --timeot=5", "unknown option '--timeot=5'; did you mean '--timeout'?"),
          std::pair("crc a --very-strange", "unknown option '--very-strange'"),
          std::pair("lock a -t 5x -- true",
                    "--timeout: '5x' is not a duration such as 250ms, 5s, 10min or 2h"),
          std::pair("top -i 0.01s", "--interval: '0.01s' is not a duration from 50ms to 1d")}) {
        expectError(line, {}, 2, u"oxtool: %1\n"_q.arg(text(message)));
        QStringList arguments = words(line);
        arguments.insert(1, u"--json"_q);
        ToolRun forScripts(arguments);
        EXPECT_EQ(forScripts.status(), 2);
        EXPECT_FALSE(forScripts.json().value(u"ok"_q).toBool(true)) << line;
    }
}

TEST(Program, TakesGeneralOptionsBeforeTheCommand)
{
    for (auto const & [before, behind] :
         {std::pair("--json version", "version --json"),
          std::pair("--json --map x=/y path x/a", "path x/a --map x=/y --json"),
          std::pair("--map=x=/y --json path x/a", "path --json --map=x=/y x/a"),
          std::pair("--map x=/y version", "version"),
          std::pair("--map x version", "--map x version"),
          std::pair("--json shm show no-such-key", "shm show --json no-such-key"),
          std::pair("--json help ls", "help ls --json"), std::pair("--json lss", "lss --json"),
          std::pair("--json", "--json")}) {
        ToolRun one(before);
        ToolRun other(behind);
        EXPECT_EQ(one.status(), other.status()) << before;
        EXPECT_EQ(one.output(), other.output()) << before;
        EXPECT_EQ(one.output().isEmpty(), text(before) == u"--map x version"_q) << before;
    }
}

TEST(Program, ReportsAClosedPipeAndAFullDisk)
{
    EXPECT_EQ(toolShell().printed("{ sleep 0.2; \"$0\" layout; echo status $? >&2; } | true"),
              u"status 1\n"_q);
    QString const full = toolShell().printed("\"$0\" layout >/dev/full; echo status $?");
    EXPECT_TRUE(full.contains(u"No space left on device"_q)) << full.toStdString();
    EXPECT_TRUE(full.endsWith(u"status 1\n"_q));
}

TEST(Program, WorksWithoutStandardStreams)
{
    Share const share;
    QString const file = share.write(u"file"_q, "content");
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
    QString const hostile = u"a\u001B[2J\n\u009B2J\u202Eb\u2028\U000E0001"_q;
    QString const shown = u"a\\u001B[2J\\u000A\\u009B2J\\u202Eb\\u2028\\uDB40\\uDC01"_q;
    Share const share;
    QString const file = share.write(hostile, "content");
    writeFile(file + u"_lock.txt"_q, hostile.toUtf8());
    for (char const * line :
         {"ls %1", "crc %2 %2none", "cp %2 %2copy", "inspect %2", "replace %2 x y",
          "refresh %2 --timeout 0", "lock --status %2", "sync %2 %2master"}) {
        ToolRun run(line, {share.path(), file});
        run.status();
        QString text = run.output() + run.errors();
        EXPECT_TRUE(text.contains(shown)) << line << text.toStdString();
        EXPECT_FALSE(text.remove(u'\n').contains(QRegularExpression(u"[\\p{C}\\p{Zl}\\p{Zp}]"_q)))
            << line << text.toStdString();
    }
    EXPECT_TRUE(ToolRun({hostile}).errors().contains(u"a\\u001B[2J"_q));
    ToolRun list("ls %1 --json", {file});
    EXPECT_EQ(list.json().value(u"folder"_q), file);
    EXPECT_FALSE(list.output().contains(QChar(0x9B))) << list.output().toStdString();
}

TEST(Program, WorksWithoutThreadsOrFailsAtTheStart)
{
    if (hasAddressSanitizer)
        GTEST_SKIP() << "the address sanitizer needs more memory than the test allows";
    // The program cannot start a thread, since the stack size (ulimit -s) is larger than the memory
    // limit (ulimit -v).
    Share const share;
    QString const file = share.write(u"file"_q, "content");
    EXPECT_EQ(
        toolShell().printed("ulimit -Ss 4000000; ulimit -v 2000000; \"$0\" crc \"$1\" >/dev/null; "
                            "echo status $?; \"$0\" cp \"$1\" \"$1.copy\"; echo status $?",
                            {file}),
        QStringLiteral("status 0\noxtool: cannot start a thread for stop requests: "
                       "Resource temporarily unavailable\nstatus 1\n"));
    EXPECT_EQ(share.names(), QStringList(u"file"_q));
}

TEST(Program, ShowsProgressInOneLineOfATerminalOnly)
{
    // Each letter in the name takes two columns of the terminal; the combining mark takes none.
    QString const wideName = u"\u65E5\u672C\U0001F600\u0301"_q.repeated(10);
    Share const share;
    QString const file = share.path(wideName);
    ToolRun holder(words("lock %1 -- sh -c", {file}) << u"echo ready; exec sleep 60"_q);
    ASSERT_TRUE(holder.waitForOutput("ready"));
    EXPECT_FALSE(toolShell()
                     .printed("\"$0\" lock \"$1\" --timeout 1000 -- true", {file})
                     .contains(u"Waiting"_q));
    if (!hasTerminals())
        GTEST_SKIP() << "the program script, which creates a pseudo-terminal, is not available";
    QString const shown = toolShell().printed(
        "script -qec \"stty columns 60; '$0' lock '$1' --timeout 1000 -- true\" /dev/null", {file});
    QRegularExpression const frame(u"\\033\\[K(Waiting for[^\\033]* \\d\\.\\d s)"_q);
    QString const line = frame.match(shown).captured(1);
    EXPECT_TRUE(line.contains(u"..."_q)) << shown.toStdString();
    int columns = 0;
    for (char32_t const letter : line.toStdU32String())
        columns += letter == 0x301 ? 0 : letter < 0x80 ? 1 : 2;
    EXPECT_TRUE(columns > 50 && columns < 60) << shown.toStdString();
}
