#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace ox::tests
{

/// A process that runs in the background. The destructor kills it.
class Child
{
  public:
    /// Starts the program. The test fails if it does not start.
    Child(QString const & program, QStringList const & arguments);
    ~Child();

    /// Waits until the child has printed a line. Returns false after a timeout.
    bool hasPrinted();
    /// Waits until the child has ended. Returns false after a timeout.
    bool hasEnded();
    /// Closes the child's standard input, so that the child continues, and waits for its end.
    /// Returns the exit code, or -1 after a crash or a timeout.
    int finish();
    /// Kills the child, so that it cannot release locks or remove files.
    void kill();
    unsigned id() const { return static_cast<unsigned>(process_.processId()); }

  private:
    QProcess process_;
};

/// Runs several children with the same arguments at the same time. The test fails if one of them
/// fails.
void expectAllSucceed(int count, QString const & program, QStringList const & arguments);

} // namespace ox::tests
