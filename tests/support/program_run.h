#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace ox::tests
{

/// How a program ended and what it printed.
struct ProgramRun {
    bool hasEnded = false;   ///< false when it did not start, or hung and was killed
    bool hasCrashed = false; ///< it was ended by a signal or an exception
    int exitCode = -1;       ///< of a crash: the number of the signal or the exception
    QByteArray output;       ///< its standard output
    QByteArray errors;       ///< its standard error

    /// True when the program ended with exit code 0.
    bool hasSucceeded() const { return hasEnded && !hasCrashed && exitCode == 0; }
};

/// Runs a program to its end, in a folder or else in the current one. The test fails when the
/// program hangs.
ProgramRun runProgram(QString const & program, QStringList const & arguments,
                      QString const & folder = {});

} // namespace ox::tests
