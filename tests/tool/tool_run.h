#pragma once

#include "tests/support/shell.h"
#include "tests/support/text.h"

#include <QJsonObject>
#include <QProcess>
#include <QStringList>

#include <functional>

namespace ox::tests
{

/// Splits a command line at the spaces, then replaces %1, %2, … by the values.
QStringList words(char const * line, QStringList const & values = {});

/// Runs the built program as a process.
class ToolRun
{
  public:
    explicit ToolRun(QStringList const & arguments, QString const & folder = {});
    explicit ToolRun(char const * line, QStringList const & values = {})
        : ToolRun(words(line, values))
    {
    }
    /// Kills the process if it is still running.
    ~ToolRun();

    /// Writes the input to the program's standard input, then closes the standard input.
    void sendInput(QByteArray const & input);
    /// Waits until the standard output contains a text. Returns false if the program ends without
    /// printing it.
    bool waitForOutput(char const * text);
    qint64 id() const { return process_.processId(); }
    /// Sends a signal, given by its name, such as "TERM".
    void send(char const * signal);
    /// Waits until a condition is true. Returns false if the program ends first.
    bool waitUntil(std::function<bool()> const & condition);
    /// Waits for the end. Returns the exit status, or 128 + the number of the signal that ended the
    /// program.
    int status();

    QString output() const { return QString::fromUtf8(output_); }
    QString errors();
    QJsonObject json();

  private:
    QProcess process_;
    QByteArray output_;
    QByteArray errors_;
};

/// Runs the tool with a command line. The test fails unless the exit status is `status` and
/// standard error contains `text`.
void expectError(char const * line, QStringList const & values, int status, QString const & text);

/// Returns a shell that runs scripts in a folder, by default the current folder. $0 is the tool.
Shell toolShell(QString const & folder = {});

/// Returns whether the machine can run a script on a pseudo-terminal.
bool hasTerminals();

} // namespace ox::tests
