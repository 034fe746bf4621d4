#include "shared/system/environment.h"
#include "tests/support/own_program.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <windows.h>

using namespace ox::tests;

namespace
{

TEST(Environment, ReturnsValuesBeyondTheCodePage)
{
    ::SetEnvironmentVariableW(L"OX_TEST_WIDE", L"C:\\\u041F\U0001F600");
    EXPECT_EQ(oxGetEnvironmentVariable(u"OX_TEST_WIDE"_q), u"C:\\\u041F\U0001F600"_q);
    std::wstring const longValue(5000, L'x');
    ::SetEnvironmentVariableW(L"OX_TEST_LONG", longValue.c_str());
    EXPECT_EQ(oxGetEnvironmentVariable(u"OX_TEST_LONG"_q), QString(5000, u'x'));
}

TEST(Environment, SplitsHiddenEntriesAtTheSecondEqualsSign)
{
    ::SetEnvironmentVariableW(L"=Q:", L"Q:\\jobs");
    QStringList names, values;
    oxGetEnvironmentVariableList(names, values);
    ASSERT_TRUE(names.contains(u"=Q:"_q));
    EXPECT_EQ(values.value(names.indexOf(u"=Q:"_q)), u"Q:\\jobs"_q);
}

TEST(Child, DISABLED_PrintsApplicationPaths)
{
    char rooted[] = "\\farm\\client", drive[] = "C:client\\x", relative[] = "bin\\client",
         empty[] = "";
    for (char * argv0 : {rooted, drive, relative, empty, static_cast<char *>(nullptr)}) {
        _oxString8_evenSize<250> path = "left over";
        bool const found = oxApplicationPath(path, argv0);
        std::printf("[%d %s]", found, path.c_str());
    }
}

TEST(ApplicationPath, UsesTheArgumentIfTheRecordCannotHoldTheExecutablePath)
{
    TemporaryFolder folder;
    QString const program = folder.path() + u"/\u041F.exe"_q;
    QString const inFolder = folder.path() + u"/\u041F/client.exe"_q;
    ASSERT_TRUE(QDir().mkpath(folder.path() + u"/\u041F"_q));
    ASSERT_TRUE(QFile::copy(ownProgram(), program));
    ASSERT_TRUE(QFile::copy(ownProgram(), inFolder));
    // PATH contains the original program's folder, so that a copy of the program finds the DLLs.
    qputenv("PATH", qgetenv("PATH") + ';' +
                        QDir::toNativeSeparators(QFileInfo(ownProgram()).path()).toLocal8Bit());
    QByteArray const own = QDir::toNativeSeparators(folder.path()).toLatin1() + '\\';
    QByteArray const current = QDir::toNativeSeparators(QDir::currentPath()).toLatin1() + '\\';
    EXPECT_TRUE(runDisabledTest(program, u"PrintsApplicationPaths"_q).contains("[1 " + own + "]"));
    QByteArray const printed = runDisabledTest(inFolder, u"PrintsApplicationPaths"_q);
    EXPECT_TRUE(printed.contains("[1 \\farm\\][1 C:client\\][1 " + current + "bin\\][0 ][0 ]"))
        << printed.constData();
}

} // namespace
