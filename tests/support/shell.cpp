#include "tests/support/shell.h"

#include <utility>

namespace ox::tests
{

Shell::Shell(QString program, QString folder)
    : program_(std::move(program)), folder_(std::move(folder))
{
}

ProgramRun Shell::run(QByteArray const & script, QStringList const & arguments) const
{
    return runProgram(QStringLiteral("sh"),
                      QStringList{QStringLiteral("-c"), QString::fromUtf8(script), program_} +
                          arguments,
                      folder_);
}

QString Shell::printed(QByteArray const & script, QStringList const & arguments) const
{
    return QString::fromUtf8(run("exec 2>&1\n" + script, arguments).output);
}

bool Shell::succeeds(QByteArray const & script, QStringList const & arguments) const
{
    return run(script, arguments).hasSucceeded();
}

} // namespace ox::tests
