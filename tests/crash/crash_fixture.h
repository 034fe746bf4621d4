#pragma once

#include "tests/support/dump.h"
#include "tests/support/file_content.h"
#include "tests/support/program_run.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"
#include "tests/support/this_build.h"

#include <QDir>
#include <QFile>
#include <QStringList>

namespace ox::tests
{

/// A test that runs crash_child, which crashes. The dumps and the log are in a temporary folder.
class CrashTest : public FolderTest
{
  protected:
    void SetUp() override
    {
        if (hasAddressSanitizer)
            GTEST_SKIP() << "the sanitizers handle the signals of crashes";
    }

    /// Runs crash_child with `words` and waits for its end. The test fails after a timeout.
    void run(QStringList const & words, QString const & dumpFolder)
    {
        ProgramRun const ended =
            runProgram(program, QStringList{log(), dumpFolder} + words, folder.path());
        EXPECT_TRUE(ended.hasEnded);
        exitCode = ended.exitCode;
        crashed = ended.hasCrashed;
        output = QByteArray(ended.output).replace("\r\n", "\n");
    }
    void run(QStringList const & words) { run(words, folder.path()); }

    QString log() const { return path("client.txt"); }
    QList<QByteArray> lines() const { return contentOf(log()).split('\n'); }
    /// Returns the sorted names of the dumps that have been renamed to their final names.
    QStringList dumps() const { return filesOf("*.oxdmp"); }
    QStringList unnamedDumps() const { return filesOf("*.dmp"); }
    DumpContent dump(int index) const { return readDump(folder.filePath(dumps()[index])); }
    void removeDumps() const
    {
        for (QString const & dump : dumps())
            QFile::remove(folder.filePath(dump));
    }

    QString program = QStringLiteral(OX_TEST_CHILD);
    bool crashed = false;
    int exitCode = 0;
    QByteArray output;

  private:
    QStringList filesOf(char const * pattern) const
    {
        return QDir(folder.path()).entryList({text(pattern)}, QDir::Files, QDir::Name);
    }
};

} // namespace ox::tests
