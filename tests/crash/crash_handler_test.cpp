#include "shared/crash/crash_handler.h"
#include "tests/crash/crash_fixture.h"
#include "tests/crash/expected_ends.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

using namespace ox::tests;

namespace
{

/// Returns a pattern for the final name of a dump. The name contains the start time that the child
/// sets.
QRegularExpression finalName()
{
    QString const start = _oxTime(1'794'000'000, true).asStringFileNameYearMinute();
    QString const width = QString::number(sizeof(void *) * 8);
    return QRegularExpression(
        u"^client__dump_\\d{4}_\\d{6}_7\\.0\\.26_%1_%2\\.oxdmp$"_q.arg(start, width));
}

} // namespace

TEST_F(CrashTest, EveryKindOfCrashWritesADumpAndKeepsItsExitCode)
{
    for (ExpectedEnd const & kind : expectedEnds()) {
        SCOPED_TRACE(kind.word);
        removeDumps();
        run({text(kind.word)});
        EXPECT_EQ(crashed, kind.crashed);
        EXPECT_EQ(exitCode, static_cast<int>(kind.exitCode));

        ASSERT_EQ(dumps().size(), 1);
        EXPECT_TRUE(finalName().match(dumps()[0]).hasMatch()) << dumps()[0].toStdString();
        EXPECT_TRUE(unnamedDumps().isEmpty());
        QByteArray const name = folder.filePath(dumps()[0]).toUtf8();
        EXPECT_EQ(lines(), (QList<QByteArray>{"crash detected true", "wrote dumpfile to " + name,
                                              QByteArray()}));
        DumpContent const content = dump(0);
        EXPECT_EQ(content.code, kind.dumpCode);
        EXPECT_EQ(content.thread == content.firstThread, kind.isMainThread);
    }
}

TEST_F(CrashTest, ThreadsThatCrashTogetherWriteOneCompleteDump)
{
    for (char const * const word : {"crowd", "mixed-crowd", "crowd", "mixed-crowd"}) {
        removeDumps();
        run({text(word)});
        EXPECT_NE(exitCode, 0);
        ASSERT_EQ(dumps().size(), 1);
        EXPECT_TRUE(unnamedDumps().isEmpty());
        EXPECT_EQ(lines().size(), 3);
        EXPECT_GE(dump(0).threadCount, 41u);
    }
}

TEST_F(CrashTest, ADumpOnDemandAndALaterCrashHaveSeparateDumps)
{
    run({u"dump"_q, u"init"_q, u"dump-for-exception"_q, u"null"_q});
    EXPECT_EQ(output, "true\ntrue\n");
    // The name contains the time in seconds. If the name exists, the dump gets the name of the next
    // free second.
    ASSERT_EQ(dumps().size(), 3);
    EXPECT_EQ(dump(0).code, 0xC0000025u);
    EXPECT_EQ(dump(1).code, 0xC0000094u);
    EXPECT_EQ(dump(2).code, expectedEnds()[0].dumpCode);
    ASSERT_EQ(lines().size(), 7);
    EXPECT_EQ(lines()[0], "crash detected truedump called");
    EXPECT_EQ(lines()[2], "crash detected true");
    EXPECT_EQ(lines()[4], "crash detected true");
    EXPECT_TRUE(unnamedDumps().isEmpty());
}

TEST_F(CrashTest, ALoggerThatFailsOrIsSlowLosesOneLineAtMost)
{
    run({u"dump"_q, u"slow-logger"_q, u"dump"_q, u"no-logger"_q, u"dump"_q, u"logger"_q,
         u"failing-logger"_q, u"abort"_q});
    EXPECT_EQ(output, "true\ntrue\ntrue\n");
    EXPECT_EQ(dumps().size(), 4);
    EXPECT_TRUE(unnamedDumps().isEmpty());
    EXPECT_EQ(lines().size(), 5);
}

TEST_F(CrashTest, TheDumpOfACrashSurvivesEveryFaultOfTheLogger)
{
    ExpectedEnd const & nullPointer = expectedEnds()[0];
    ExpectedEnd const & abort = expectedEnds()[3];
    for (auto const & [fault, kind] :
         {std::pair("aborting-logger", nullPointer), std::pair("aborting-logger", abort),
          std::pair("crashing-logger", nullPointer), std::pair("hanging-logger", abort)}) {
        SCOPED_TRACE(fault);
        removeDumps();
        run({text(fault), text(kind.word)});
        EXPECT_EQ(crashed, kind.crashed);
        EXPECT_EQ(exitCode, static_cast<int>(kind.exitCode));
        ASSERT_EQ(dumps().size(), 1);
        EXPECT_EQ(dump(0).code, kind.dumpCode);
        EXPECT_TRUE(unnamedDumps().isEmpty());
        EXPECT_EQ(lines(), QList<QByteArray>{QByteArray()});
    }
}

TEST_F(CrashTest, ALoggerThatCrashesDuringADumpOnDemandIsACrashOfTheApplication)
{
    run({u"crashing-logger"_q, u"dump"_q});
    EXPECT_EQ(exitCode, static_cast<int>(expectedEnds()[0].exitCode));
    ASSERT_EQ(dumps().size(), 1);
    EXPECT_EQ(dump(0).code, expectedEnds()[0].dumpCode);
    EXPECT_EQ(unnamedDumps().size(), 1); // the dump on demand, which the crash interrupted
}

TEST_F(CrashTest, WithoutItsFolderADumpFailsAndTheProcessEnds)
{
    run({u"dump"_q, u"null"_q}, path("missing"));
    // The system may print its own text after the program's output.
    EXPECT_TRUE(output.startsWith("false\n")) << output.toStdString();
    EXPECT_EQ(exitCode, static_cast<int>(expectedEnds()[0].exitCode));
    EXPECT_EQ(lines(), (QList<QByteArray>{"crash detected falsedump called", "crash detected false",
                                          QByteArray()}));
}

TEST_F(CrashTest, ACrashIsPassedToEarlierHandlersOnRequest)
{
    run({u"earlier-handler"_q, u"null"_q});
    EXPECT_EQ(exitCode, static_cast<int>(expectedEnds()[0].exitCode));
    run({u"earlier-handler"_q, u"to-system"_q, u"null"_q});
    EXPECT_EQ(exitCode, 17);
    EXPECT_EQ(dumps().size(), 2);
}

TEST_F(CrashTest, AnInstallationsDumpsAreInItsReleaseLogFolder)
{
    QString const bin = path("app_debug/bin/platform");
    QString const logs = path("app_release/sub/log");
    ASSERT_TRUE(QDir().mkpath(bin) && QDir().mkpath(logs));
    QFileInfo const original(program);
    program = bin + QDir::separator() + original.fileName();
    ASSERT_TRUE(QFile::copy(original.filePath(), program));
    addLibraryFolder(original.absolutePath());
    // setDumpPath() ignores a folder whose path is too long. The previous folder stays in use.
    run({u"too-long-folder"_q, u"dump"_q}, u"default"_q);
    EXPECT_EQ(output, "true\n");
    EXPECT_EQ(QDir(logs).entryList({u"*.oxdmp"_q}).size(), 1);
}

TEST(CrashHandler, WithoutInitDoesNothing)
{
    oxCrashHandler & handler = *oxCrashHandler::instance();
    EXPECT_EQ(&handler, oxCrashHandler::instance());
    handler.setDumpPath(u"anywhere"_q);
    handler.setDumpPathDefault();
    EXPECT_FALSE(handler.writeMinidump());
    EXPECT_FALSE(handler.WriteMinidumpForException(nullptr));
    _oxString<250> message(u"before");
    EXPECT_EQ(filter(nullptr, message), 1u);
    EXPECT_TRUE(message.isEmpty());
    EXPECT_TRUE(oxOutputStackTrace(5).isEmpty());
}
