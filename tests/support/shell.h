#pragma once

#include "tests/support/program_run.h"

namespace ox::tests
{

/// Runs scripts of the POSIX shell.
class Shell
{
  public:
    /// `program` is the $0 of the scripts. The scripts run in `folder`, by default in the
    /// current folder of the test.
    explicit Shell(QString program = QStringLiteral("sh"), QString folder = {});

    /// Runs a script and waits for its end. The script's $1, $2, … are the arguments.
    ProgramRun run(QByteArray const & script, QStringList const & arguments = {}) const;

    /// Runs a script. Returns its standard output and standard error, in the order in which they
    /// were printed.
    QString printed(QByteArray const & script, QStringList const & arguments = {}) const;

    /// Runs a script. Returns whether it ended with exit code 0.
    bool succeeds(QByteArray const & script, QStringList const & arguments = {}) const;

  private:
    QString program_;
    QString folder_;
};

} // namespace ox::tests
