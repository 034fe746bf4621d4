#include "tests/fs/support.h"

#include <gtest/gtest.h>

#include <QFile>

#include <memory>
#include <vector>

namespace
{
constexpr int patienceMs = 120000;
}

QByteArray contentOf(QString const & fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

Child::Child(QStringList const & arguments)
{
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(QStringLiteral(OX_FS_CHILD), arguments);
    EXPECT_TRUE(process_.waitForStarted(patienceMs));
}

Child::~Child()
{
    kill();
}

QString Child::readLine()
{
    while (!process_.canReadLine() && process_.waitForReadyRead(patienceMs)) {
    }
    return QString::fromLatin1(process_.readLine()).trimmed();
}

int Child::finish()
{
    process_.closeWriteChannel();
    bool const ended =
        process_.state() == QProcess::NotRunning || process_.waitForFinished(patienceMs);
    return ended && process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
}

void Child::kill()
{
    process_.kill();
    process_.waitForFinished(patienceMs);
}

void expectAllSucceed(int count, QStringList const & arguments)
{
    std::vector<std::unique_ptr<Child>> children;
    for (int i = 0; i < count; ++i)
        children.push_back(std::make_unique<Child>(arguments));
    for (auto const & child : children)
        EXPECT_EQ(child->finish(), 0);
}
