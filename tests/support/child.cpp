#include "tests/support/child.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace ox::tests
{

namespace
{

constexpr int timeoutMs = 120000;

} // namespace

Child::Child(QString const & program, QStringList const & arguments)
{
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(program, arguments);
    EXPECT_TRUE(process_.waitForStarted(timeoutMs)) << process_.errorString().toStdString();
}

Child::~Child()
{
    kill();
}

bool Child::hasPrinted()
{
    return process_.canReadLine() || process_.waitForReadyRead(timeoutMs);
}

bool Child::hasEnded()
{
    return process_.state() == QProcess::NotRunning || process_.waitForFinished(timeoutMs);
}

int Child::finish()
{
    process_.closeWriteChannel();
    return hasEnded() && process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
}

void Child::kill()
{
    process_.kill();
    process_.waitForFinished(timeoutMs);
}

void expectAllSucceed(int count, QString const & program, QStringList const & arguments)
{
    std::vector<std::unique_ptr<Child>> children;
    for (int i = 0; i < count; ++i)
        children.push_back(std::make_unique<Child>(program, arguments));
    for (auto const & child : children)
        EXPECT_EQ(child->finish(), 0);
}

} // namespace ox::tests
