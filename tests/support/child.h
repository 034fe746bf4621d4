#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace ox::tests
{

/// Another process, started and left running; killed at the end of the scope.
class Child
{
  public:
    /// The test fails when the program does not start.
    Child(QString const & program, QStringList const & arguments);
    ~Child();

    /// Waits until the child has printed a line.
    bool hasPrinted();
    /// Waits for the child's end. False when it does not end.
    bool hasEnded();
    /// Closes the child's standard input, which lets the child go on, and waits for its end. The
    /// exit code, or -1 when it crashed or did not end.
    int finish();
    /// Kills the child so that it can clean nothing up.
    void kill();
    unsigned id() const { return static_cast<unsigned>(process_.processId()); }

  private:
    QProcess process_;
};

/// Runs several children with the same arguments at the same time. The test fails when one of them
/// does.
void expectAllSucceed(int count, QString const & program, QStringList const & arguments);

} // namespace ox::tests
