#pragma once

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

/// A folder that is removed at the end of the scope. Its names have the system's own separators.
class TemporaryFolder
{
  public:
    QString path() const { return QDir::toNativeSeparators(folder_.path()); }
    QString filePath(QString const & name) const
    {
        return QDir::toNativeSeparators(folder_.filePath(name));
    }

  private:
    QTemporaryDir folder_;
};

inline QString text(char const * latin1)
{
    return QString::fromLatin1(latin1);
}

/// The bytes of a file; empty when there is none.
inline QByteArray contentOf(QString const & fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline QString make(QString const & name, QByteArray const & content = "content")
{
    QFile file(name);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
    return name;
}

/// The other process (child.cpp tells what it can do), started and left running; killed at the end
/// of the scope.
class Child
{
  public:
    explicit Child(QStringList const & arguments)
    {
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process_.start(QStringLiteral(OX_FS_CHILD), arguments);
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

/// Lets several processes append to one log file, and expects every line whole.
inline void expectLogLinesDoNotMix(QString const & name)
{
    expectAllSucceed(4, {text("log"), name, text("300")});
    auto const lines = contentOf(name).replace("\r\n", "\n").split('\n');
    EXPECT_EQ(lines.size(), 4 * 300 + 1);
    for (int i = 0; i + 1 < lines.size(); ++i) {
        QByteArray const & line = lines[i];
        bool const isWhole = line.startsWith('<') && line.endsWith('>') && line.count('<') == 1;
        ASSERT_TRUE(isWhole) << i;
    }
}

/// A test with a folder of its own.
class FolderTest : public testing::Test
{
  protected:
    QString path(char const * name) const { return folder.filePath(QString::fromUtf8(name)); }

    TemporaryFolder folder;
};
