#include "shared/system/environment.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <csignal>
#include <pthread.h>
#include <thread>

namespace
{

QString operator""_q(char16_t const * text, std::size_t length)
{
    return QString(reinterpret_cast<QChar const *>(text), static_cast<int>(length));
}

QString executable()
{
    return QFileInfo(u"/proc/self/exe"_q).symLinkTarget();
}

/// Runs the disabled test `Child.name` in a process of its own and returns what it printed.
QByteArray runChild(QString const & program, QString const & name)
{
    QProcess child;
    child.start(program,
                {u"--gtest_also_run_disabled_tests"_q, u"--gtest_filter=Child.DISABLED_"_q + name});
    EXPECT_TRUE(child.waitForFinished(30000)) << child.errorString().toStdString();
    return child.readAllStandardOutput();
}

TEST(Environment, GivesValuesOfEveryEncoding)
{
    qputenv("OX_TEST_UTF8", "/home/\xD0\x9F\xF0\x9F\x98\x80");
    qputenv("OX_TEST_LATIN1", "/home/\xE4");
    qputenv("OX_TEST_EQUALS", "a=b=c");
    EXPECT_EQ(oxGetEnvironmentVariable(u"OX_TEST_UTF8"_q), u"/home/\u041F\U0001F600"_q);
    EXPECT_EQ(oxGetEnvironmentVariable(u"OX_TEST_LATIN1"_q), u"/home/\u00E4"_q);
    EXPECT_EQ(oxGetEnvironmentVariable(u"OX_TEST_EQUALS"_q), u"a=b=c"_q);
    EXPECT_EQ(oxGetEnvironmentVariable(u"OX_TEST_UNSET"_q), QString());
    EXPECT_EQ(oxGetEnvironmentVariable8("OX_TEST_UTF8").view(), "/home/\xD0\x9F\xF0\x9F\x98\x80");
    EXPECT_EQ(oxGetEnvironmentVariable8("OX_TEST_LATIN1").view(), "/home/\xE4");

    QStringList names{u"left over"_q}, values;
    oxGetEnvironmentVariableList(names, values);
    ASSERT_EQ(names.size(), values.size());
    EXPECT_EQ(values.value(names.indexOf(u"OX_TEST_EQUALS"_q)), u"a=b=c"_q);
    EXPECT_EQ(values.value(names.indexOf(u"OX_TEST_UTF8"_q)), u"/home/\u041F\U0001F600"_q);
    EXPECT_FALSE(names.contains(u"left over"_q));
}

TEST(Child, DISABLED_ListsOddEntries)
{
    char noValue[] = "NOVALUE", drive[] = "=C:=C:\\jobs", empty[] = "EMPTY=";
    char * entries[] = {noValue, drive, empty, nullptr};
    char ** const saved = environ;
    environ = entries;
    QStringList names, values;
    oxGetEnvironmentVariableList(names, values);
    environ = saved;
    std::printf("[%s][%s]", qPrintable(names.join(u'|')), qPrintable(values.join(u'|')));
}

TEST(Environment, SplitsHiddenEntriesAtTheirSecondEquals)
{
    EXPECT_TRUE(runChild(executable(), u"ListsOddEntries"_q).contains("[=C:|EMPTY][C:\\jobs|]"));
}

TEST(Environment, PrefersThe64BitProgramFolder)
{
    qputenv("ProgramFiles", "x86");
    EXPECT_EQ(oxGetEnvironmentVariable(u"ProgramFiles"_q), u"x86"_q);
    qputenv("ProgramW6432", "");
    EXPECT_EQ(oxGetEnvironmentVariable8("ProgramFiles").view(), "x86");
    qputenv("ProgramW6432", "x64");
    EXPECT_EQ(oxGetEnvironmentVariable(u"ProgramFiles"_q), u"x64"_q);
    EXPECT_EQ(oxGetEnvironmentVariable8("ProgramFiles").view(), "x64");
}

TEST(Sleep, LastsItsTimeAcrossSignals)
{
    struct sigaction action {
    };
    action.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
    std::thread disturber([sleeper = pthread_self()] {
        for (int i = 0; i < 5; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            pthread_kill(sleeper, SIGUSR1);
        }
    });
    QElapsedTimer timer;
    timer.start();
    oxSleep(200);
    EXPECT_GE(timer.elapsed(), 199);
    disturber.join();

    timer.start();
    oxSleep(-5);
    oxSleep(0);
    EXPECT_LT(timer.elapsed(), 100);
}

TEST(ApplicationPath, IsTheFolderOfTheExecutable)
{
    QString const folder = QFileInfo(executable()).path() + u"/"_q;
    _oxString8_evenSize<250> path;
    EXPECT_TRUE(oxApplicationPath(path, nullptr));
    EXPECT_EQ(QString(path), folder);
    char elsewhere[] = "/opt/farm/client";
    EXPECT_EQ(QString(oxApplicationPath(elsewhere)), folder);
}

TEST(Child, DISABLED_PrintsApplicationPaths)
{
    char absolute[] = "/opt/farm/client", relative[] = "bin/client", empty[] = "";
    for (char * argv0 : {absolute, relative, empty, static_cast<char *>(nullptr)}) {
        _oxString8_evenSize<250> path = "left over";
        bool const found = oxApplicationPath(path, argv0);
        std::printf("[%d %s]", found, path.c_str());
    }
}

TEST(ApplicationPath, TakesTheArgumentsWhereTheExecutableDoesNotFit)
{
    QTemporaryDir folder;
    QString const deep = folder.path() + (u"/"_q + QString(80, u'd')).repeated(3);
    ASSERT_TRUE(QDir().mkpath(deep));
    ASSERT_TRUE(QFile::copy(executable(), deep + u"/client"_q));
    QByteArray const current = QDir::currentPath().toUtf8();
    EXPECT_TRUE(runChild(deep + u"/client"_q, u"PrintsApplicationPaths"_q)
                    .contains("[1 /opt/farm/][1 " + current + "/bin/][0 ][0 ]"));
}

TEST(ApplicationPath, KeepsEveryLetterOfTheFolder)
{
    QTemporaryDir folder;
    for (QString const & name : {u"\u00E4"_q, u"\u041F"_q, u"\u00C3\u00A4"_q}) {
        QString const path = folder.path() + u"/"_q + name;
        ASSERT_TRUE(QDir().mkpath(path));
        ASSERT_TRUE(QFile::copy(executable(), path + u"/client"_q));
        QByteArray const bytes = name == u"\u00E4"_q ? path.toLatin1() : path.toUtf8();
        EXPECT_TRUE(runChild(path + u"/client"_q, u"PrintsApplicationPaths"_q)
                        .contains("[1 " + bytes + "/]"))
            << name.toStdString();
    }
}

} // namespace
