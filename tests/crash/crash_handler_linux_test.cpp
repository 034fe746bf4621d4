#include "oxtool/support/crash_kinds.h"
#include "shared/system/environment.h"
#include "tests/crash/crash_fixture.h"
#include "tests/crash/expected_ends.h"

#include <QDir>
#include <QElapsedTimer>

#include <algorithm>
#include <csignal>

#include <sys/stat.h>
#include <unistd.h>

using namespace ox::tests;

std::span<ExpectedEnd const> expectedEnds()
{
    static constexpr ExpectedEnd ends[] = {
        {"null", true, SIGSEGV, SIGSEGV, true},    {"divide", true, SIGFPE, SIGFPE, true},
        {"illegal", true, SIGILL, SIGILL, true},   {"abort", true, SIGABRT, SIGABRT, true},
        {"throw", true, SIGABRT, SIGABRT, true},   {"stack", true, SIGSEGV, SIGSEGV, true},
        {"thread", true, SIGSEGV, SIGSEGV, false}, {"thread-stack", true, SIGSEGV, SIGSEGV, false},
        {"malloc", true, SIGSEGV, SIGSEGV, true},  {"double-free", true, SIGABRT, SIGABRT, true},
    };
    return ends;
}

void addLibraryFolder(QString const &) {}

TEST_F(CrashTest, AForkedChildThatCrashesDoesNotReplaceItsParentsDump)
{
    // The parent process and the child process crash at the same time.
    run({u"fork"_q, u"abort"_q});
    QElapsedTimer clock;
    for (clock.start(); dumps().size() < 2 && clock.elapsed() < 30000;)
        oxSleep(20);
    ASSERT_EQ(dumps().size(), 2);
    std::uint32_t const first = dump(0).code;
    std::uint32_t const second = dump(1).code;
    EXPECT_EQ(std::min(first, second), std::uint32_t{SIGABRT});
    EXPECT_EQ(std::max(first, second), std::uint32_t{SIGSEGV});
    EXPECT_TRUE(unnamedDumps().isEmpty());
}

TEST_F(CrashTest, TheProcessEndsIfNoDumpCanBeWritten)
{
    // Root can write to every folder except those of the kernel, such as /proc.
    QString const readOnly = ::geteuid() == 0 ? u"/proc"_q : folder.path();
    ::chmod(folder.path().toUtf8().constData(), 0700);
    for (auto const & [words, dumpFolder] :
         {std::pair{QStringList{u"null"_q}, readOnly},
          std::pair{QStringList{u"full"_q, u"null"_q}, folder.path()}}) {
        writeFile(log());
        if (dumpFolder == readOnly)
            ::chmod(folder.path().toUtf8().constData(), 0500);
        run(words, dumpFolder);
        ::chmod(folder.path().toUtf8().constData(), 0700);
        EXPECT_EQ(exitCode, SIGSEGV);
        EXPECT_EQ(lines(), (QList<QByteArray>{"crash detected false", QByteArray()}));
        EXPECT_TRUE(dumps().isEmpty());
    }
}

TEST_F(CrashTest, DumpsAreWrittenWithAllDescriptorsInUse)
{
    run({u"open-all"_q, u"dump"_q, u"dump"_q, u"null"_q});
    EXPECT_EQ(output, "true\ntrue\n");
    EXPECT_EQ(exitCode, SIGSEGV);
    ASSERT_EQ(dumps().size(), 3);
    for (QString const & dump : dumps())
        EXPECT_NE(readDump(folder.filePath(dump)).threadCount, 0u);
}

TEST_F(CrashTest, ADumpKeepsTheProtectionOfTheMemory)
{
    run({u"protect"_q, u"dump"_q, u"still-protected"_q});
    EXPECT_EQ(output, "true\n");
    EXPECT_EQ(exitCode, 0);
}

TEST_F(CrashTest, TheDumpReaderNamesTheFunctionThatCrashed)
{
    QString const readers = QStringLiteral(OX_DUMP_READERS);
    auto const runReader = [&](char const * name, QStringList const & arguments) {
        return runProgram(readers + u'/' + text(name), arguments);
    };
    ProgramRun const symbolReader = runReader("dump_syms", {program});
    if (!symbolReader.hasEnded || symbolReader.hasCrashed)
        GTEST_SKIP() << "Breakpad's dump readers do not run on this machine";
    // The first line has the form "MODULE Linux x86_64 1F0B… crash_child".
    QByteArray const & symbols = symbolReader.output;
    QList<QByteArray> const module = symbols.left(symbols.indexOf('\n')).split(' ');
    ASSERT_EQ(module.size(), 5);
    QString const symbolFolder =
        path("symbols/") + QString::fromLatin1(module[4] + '/' + module[3] + '/');
    ASSERT_TRUE(QDir().mkpath(symbolFolder));
    writeFile(symbolFolder + QString::fromLatin1(module[4] + ".sym"), symbols);

    for (ox::tool::CrashKind const & kind : ox::tool::crashKinds()) {
        SCOPED_TRACE(kind.name);
        // In a 32-bit build, the dump reader cannot unwind frames of the C library without the
        // symbols of the C library.
        bool const endsInLibrary = text(kind.name) == u"abort"_q || text(kind.name) == u"throw"_q;
        if (sizeof(void *) == 4 && endsInLibrary)
            continue;
        removeDumps();
        run({text(kind.name)});
        ASSERT_EQ(dumps().size(), 1);
        ProgramRun const stackReader = runReader(
            "minidump_stackwalk", {u"-m"_q, folder.filePath(dumps()[0]), path("symbols")});
        ASSERT_TRUE(stackReader.hasEnded && !stackReader.hasCrashed);
        QByteArray const & report = stackReader.output;
        // The report contains a line such as "Crash|SIGSEGV /SEGV_MAPERR|0x0|0", whose last field
        // is the number of the crashed thread. Each frame has a line that begins with the number of
        // its thread, such as "0|1|crash_child|ox::tool::…|file|line|0x…".
        auto const crash = report.mid(report.indexOf("\nCrash|") + 1);
        auto const thread = crash.left(crash.indexOf('\n')).split('|').last();
        bool isNamed = false;
        for (QByteArray const & frame : report.split('\n'))
            isNamed |= frame.startsWith(thread + '|') && frame.contains(kind.function);
        EXPECT_TRUE(isNamed) << report.toStdString();
    }
}
