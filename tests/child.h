#pragma once

#include <gtest/gtest.h>

#include <QProcess>
#include <QStringList>

#include <memory>
#include <vector>

/// The other process of a folder's tests (its source tells what it can do), started and left
/// running; killed at the end of the scope.
class Child
{
  public:
    explicit Child(QStringList const & arguments)
    {
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process_.start(QStringLiteral(OX_TEST_CHILD), arguments);
        EXPECT_TRUE(process_.waitForStarted(patienceMs));
    }
    ~Child() { kill(); }

    /// Waits until the child has printed a line.
    bool hasPrinted() { return process_.canReadLine() || process_.waitForReadyRead(patienceMs); }
    /// Ends the child's standard input, which tells it to go on, and waits for its end. The exit
    /// code, or -1 when it crashed or did not end.
    int finish()
    {
        process_.closeWriteChannel();
        bool const ended =
            process_.state() == QProcess::NotRunning || process_.waitForFinished(patienceMs);
        return ended && process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
    }
    /// Kills the child so that it can clean nothing up.
    void kill()
    {
        process_.kill();
        process_.waitForFinished(patienceMs);
    }

  private:
    static constexpr int patienceMs = 120000;

    QProcess process_;
};

/// Runs a number of children with the same arguments at the same time, and expects success of all.
inline void expectAllSucceed(int count, QStringList const & arguments)
{
    std::vector<std::unique_ptr<Child>> children;
    for (int i = 0; i < count; ++i)
        children.push_back(std::make_unique<Child>(arguments));
    for (auto const & child : children)
        EXPECT_EQ(child->finish(), 0);
}
