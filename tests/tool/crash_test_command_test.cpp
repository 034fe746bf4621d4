#include "tests/support/dump.h"
#include "tests/support/file_content.h"
#include "tests/support/this_build.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>

using namespace ox::tests;

TEST(CrashTestCommand, WritesADumpThatTheCommandCrashReads)
{
    if (hasAddressSanitizer)
        GTEST_SKIP() << "the sanitizers handle the signals of crashes";
    Share const share;
    ToolRun run("crash-test thread --dir %1 --json", {share.path()});
    EXPECT_EQ(run.status(), 0) << run.errors().toStdString();
    QJsonObject const result = run.json();
    EXPECT_EQ(result.value(u"status"_q).toInt(),
              isWindows ? static_cast<int>(0xC0000005) : 128 + 11);
    EXPECT_EQ(result.value(u"log"_q).toArray().size(), 2);
    // No code page of Windows contains both letters of the new name.
    QString const dump = share.path(u"\u05D0 \u65E5.oxdmp"_q);
    EXPECT_TRUE(QFile::rename(result.value(u"dump"_q).toString(), dump));
    EXPECT_TRUE(readDump(dump).isDump);
    // The dump is the only new file.
    EXPECT_EQ(share.names().size(), 1);

    QString const readers = QStringLiteral(OX_DUMP_READERS);
    QString const symbols = share.path(u"symbols"_q);
    EXPECT_TRUE(QDir().mkpath(symbols));
    EXPECT_TRUE(isWindows ||
                toolShell().succeeds("PATH=$1:$PATH \"$2\" \"$3\" \"$0\"",
                                     {readers, QStringLiteral(OX_SYMBOLS_SCRIPT), symbols}));
    QJsonObject const crash =
        ToolRun("crash %1 -s %2 --readers %3 --json", {dump, symbols, readers}).json();
    EXPECT_EQ(crash[u"reason"_q],
              isWindows ? u"EXCEPTION_ACCESS_VIOLATION_WRITE"_q : u"SIGSEGV /SEGV_MAPERR"_q);
    EXPECT_EQ(crash[u"module"_q], isWindows ? u"oxtool.exe"_q : u"oxtool"_q);
    QJsonObject const frame = crash[u"stack"_q].toArray().at(0).toObject();
    // On Windows the tests have no symbols.
    EXPECT_EQ(frame[u"function"_q], isWindows ? QString() : u"ox::tool::accessNullPointer()"_q);
    EXPECT_EQ(frame[u"source"_q].toString().contains(u"crash_kinds.cpp:"_q), !isWindows);
    expectError("crash %1 --readers %2", {share.write(u"no"_q, "dump"), readers}, 3, u"/no': "_q);
}

TEST(CrashTestCommand, RefusesAnExistingLogAndAMissingFolder)
{
    Share const share;
    share.write(u"crash-test.txt"_q, "mine");
    for (QString const & folder : {share.path(), share.path(u"missing"_q)}) {
        ToolRun run("crash-test null --dir %1", {folder});
        EXPECT_EQ(run.status(), folder == share.path() ? 1 : 5);
        EXPECT_FALSE(run.errors().isEmpty());
    }
    EXPECT_EQ(contentOf(share.path(u"crash-test.txt"_q)), "mine");
}
