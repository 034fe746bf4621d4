#pragma once

#include "tests/child.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

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
