#include "tests/support/own_program.h"

#include "tests/support/program_run.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

namespace ox::tests
{

QString ownProgram()
{
    int count = 1;
    char name[] = "tests";
    char * arguments[] = {name, nullptr};
    QCoreApplication const application(count, arguments);
    return QCoreApplication::applicationFilePath();
}

QByteArray runDisabledTest(QString const & program, QString const & name)
{
    ProgramRun const run =
        runProgram(program, {QStringLiteral("--gtest_also_run_disabled_tests"),
                             QStringLiteral("--gtest_filter=Child.DISABLED_") + name});
    EXPECT_TRUE(run.hasEnded) << program.toStdString();
    return run.output;
}

} // namespace ox::tests
