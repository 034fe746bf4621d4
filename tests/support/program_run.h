#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace ox::tests
{

/// The exit state and the output of a program.
struct ProgramRun {
    bool hasEnded = false;   ///< false if the program did not start or was killed after a timeout
    bool hasCrashed = false; ///< true if a signal or an exception ended the program
    int exitCode = -1;       ///< after a crash the number of the signal or exception
    QByteArray output;       ///< standard output
    QByteArray errors;       ///< standard error

    /// Returns whether the program ended with exit code 0.
    bool hasSucceeded() const { return hasEnded && !hasCrashed && exitCode == 0; }
};

/// Runs a program and waits for its end. An empty folder means the current folder. The test fails
/// after a timeout.
ProgramRun runProgram(QString const & program, QStringList const & arguments,
                      QString const & folder = {});

} // namespace ox::tests
