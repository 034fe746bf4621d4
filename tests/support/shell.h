#pragma once

#include "tests/support/program_run.h"

namespace ox::tests
{

/// Runs scripts of the POSIX shell.
class Shell
{
  public:
    /// The scripts have the program as $0 and run in the folder, or else in the current one.
    explicit Shell(QString program = QStringLiteral("sh"), QString folder = {});

    /// Runs a script to its end; the arguments are its $1, $2 and so on.
    ProgramRun run(QByteArray const & script, QStringList const & arguments = {}) const;

    /// Runs a script and returns what it printed to both streams, in the order of printing.
    QString printed(QByteArray const & script, QStringList const & arguments = {}) const;

    /// Runs a script. Returns true when it ended with exit code 0.
    bool succeeds(QByteArray const & script, QStringList const & arguments = {}) const;

  private:
    QString program_;
    QString folder_;
};

} // namespace ox::tests
