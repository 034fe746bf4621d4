#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

/// The bytes of a file; empty when there is none.
QByteArray contentOf(QString const & fileName);

/// A child program of the file system's tests (child.cpp tells what it can do), started and left
/// running; killed at the end of the scope.
class Child
{
  public:
    explicit Child(QStringList const & arguments);
    ~Child();

    /// Waits until the child has printed a line, and returns it without its end; empty on failure.
    QString readLine();
    /// Closes the child's standard input, which tells it to go on, and waits for its end. The exit
    /// code, or -1 when it crashed or did not end in two minutes.
    int finish();
    /// Kills the child so that it can clean nothing up.
    void kill();

  private:
    QProcess process_;
};

/// Runs a number of children with the same arguments at the same time, and expects success of all.
void expectAllSucceed(int count, QStringList const & arguments);
