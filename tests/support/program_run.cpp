#include "tests/support/program_run.h"

#include <gtest/gtest.h>

#include <QProcess>

namespace ox::tests
{

ProgramRun runProgram(QString const & program, QStringList const & arguments,
                      QString const & folder)
{
    constexpr int timeoutMs = 180000;
    ProgramRun run;
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    if (!process.waitForStarted(timeoutMs))
        return run;
    run.hasEnded = process.state() == QProcess::NotRunning || process.waitForFinished(timeoutMs);
    EXPECT_TRUE(run.hasEnded) << program.toStdString() << " hangs";
    if (!run.hasEnded) {
        process.kill();
        process.waitForFinished(timeoutMs);
    }
    run.hasCrashed = process.exitStatus() == QProcess::CrashExit;
    run.exitCode = process.exitCode();
    run.output = process.readAllStandardOutput();
    run.errors = process.readAllStandardError();
    return run;
}

} // namespace ox::tests
