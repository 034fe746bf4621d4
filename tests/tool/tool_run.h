#pragma once

#include "tests/support/shell.h"
#include "tests/support/text.h"

#include <QJsonObject>
#include <QProcess>
#include <QStringList>

#include <functional>

namespace ox::tests
{

/// The built program, started with real arguments and streams.
class ToolRun
{
  public:
    explicit ToolRun(QStringList const & arguments, QString const & folder = {});
    /// Kills what is still running.
    ~ToolRun();

    /// Writes the whole standard input and closes it.
    void sendInput(QByteArray const & input);
    /// Waits until the standard output holds a text. False when the program ended before.
    bool waitForOutput(char const * text);
    /// Sends a signal by its name ("TERM").
    void send(char const * signal);
    /// Waits until a condition holds. False when the program ended before.
    bool waitUntil(std::function<bool()> const & condition);
    /// Waits for the end. The exit status as a shell shows it.
    int status();

    QString output() const { return QString::fromUtf8(output_); }
    QString errors();
    QJsonObject json();

  private:
    QProcess process_;
    QByteArray output_;
    QByteArray errors_;
};

/// A shell whose scripts have the program as $0, and run in a folder or else in the current one.
Shell toolShell(QString const & folder = {});

/// Whether a script can run on a terminal of its own.
bool hasTerminals();

} // namespace ox::tests
