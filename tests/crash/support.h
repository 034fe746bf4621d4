#pragma once

#include "tests/fs/support.h"

#include <QDir>
#include <QProcess>
#include <QStringList>
#include <QtEndian>

#include <cstdint>

/// What a minidump says of its exception.
struct DumpContent {
    bool isDump = false;
    std::uint32_t code = 0;
    std::uint32_t thread = 0;      ///< of the exception
    std::uint32_t firstThread = 0; ///< of the process
    std::uint32_t threadCount = 0;
};

/// Reads the header, the list of threads and the exception of a minidump.
inline DumpContent readDump(QString const & file)
{
    QByteArray const bytes = contentOf(file);
    auto const word = [&bytes](std::uint32_t at) {
        return at + 4 <= static_cast<std::uint32_t>(bytes.size())
                   ? qFromLittleEndian<quint32>(bytes.constData() + at)
                   : 0;
    };
    DumpContent content;
    content.isDump = bytes.startsWith("MDMP");
    for (std::uint32_t i = 0; i < word(8); ++i) {
        std::uint32_t const entry = word(12) + 12 * i;
        std::uint32_t const stream = word(entry + 8);
        if (word(entry) == 3) { // the threads
            content.threadCount = word(stream);
            content.firstThread = word(stream + 4);
        }
        if (word(entry) == 6) { // the exception
            content.thread = word(stream);
            content.code = word(stream + 8);
        }
    }
    return content;
}

/// A run of the program that crashes, with a folder of its own for dumps and log.
class CrashTest : public FolderTest
{
  protected:
    /// Runs it to its end, which must come soon.
    void run(QStringList const & words, QString const & dumpFolder)
    {
        QProcess process;
        process.setWorkingDirectory(folder.path());
        process.start(program, QStringList{log(), dumpFolder} + words);
        ended = process.waitForFinished(180000);
        EXPECT_TRUE(ended) << "it hangs";
        if (!ended)
            process.kill();
        exitCode = process.exitCode();
        crashed = process.exitStatus() == QProcess::CrashExit;
        output = process.readAllStandardOutput().replace("\r\n", "\n");
    }
    void run(QStringList const & words) { run(words, folder.path()); }

    QString log() const { return path("client.txt"); }
    QList<QByteArray> lines() const { return contentOf(log()).split('\n'); }
    /// The dumps with a final name and those without, by name.
    QStringList dumps() const { return filesOf("*.oxdmp"); }
    QStringList unnamedDumps() const { return filesOf("*.dmp"); }

    QString program = QStringLiteral(OX_TEST_CHILD);
    bool ended = false;
    bool crashed = false;
    int exitCode = 0;
    QByteArray output;

  private:
    QStringList filesOf(char const * pattern) const
    {
        return QDir(folder.path()).entryList({text(pattern)}, QDir::Files, QDir::Name);
    }
};
