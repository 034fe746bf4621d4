#include "shared/system/environment.h"
#include "tests/support/own_program.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QStringList>

#include <chrono>
#include <csignal>
#include <thread>

#include <pthread.h>

using namespace ox::tests;

namespace
{

TEST(Environment, ReturnsValuesOfEveryEncoding)
{
    qputenv("OX_TEST_UTF8", "/home/\xD0\x9F\xF0\x9F\x98\x80");
    qputenv("OX_TEST_LATIN1", "/home/\xE4");
    EXPECT_EQ(oxGetEnvironmentVariable(u"OX_TEST_UTF8"_q), u"/home/\u041F\U0001F600"_q);
    EXPECT_EQ(oxGetEnvironmentVariable(u"OX_TEST_LATIN1"_q), u"/home/\u00E4"_q);
    EXPECT_EQ(oxGetEnvironmentVariable8("OX_TEST_UTF8").view(), "/home/\xD0\x9F\xF0\x9F\x98\x80");
    EXPECT_EQ(oxGetEnvironmentVariable8("OX_TEST_LATIN1").view(), "/home/\xE4");
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

TEST(Environment, SplitsHiddenEntriesAtTheSecondEqualsSign)
{
    EXPECT_TRUE(
        runDisabledTest(ownProgram(), u"ListsOddEntries"_q).contains("[=C:|EMPTY][C:\\jobs|]"));
}

TEST(Sleep, LastsTheFullTimeDespiteSignals)
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

TEST(ApplicationPath, KeepsEveryLetterAndUsesTheArgumentIfItDoesNotFit)
{
    TemporaryFolder folder;
    QString const deep = folder.path() + (u"/"_q + QString(80, u'd')).repeated(3);
    ASSERT_TRUE(QDir().mkpath(deep));
    ASSERT_TRUE(QFile::copy(ownProgram(), deep + u"/client"_q));
    QByteArray const current = QDir::currentPath().toUtf8();
    EXPECT_TRUE(runDisabledTest(deep + u"/client"_q, u"PrintsApplicationPaths"_q)
                    .contains("[1 /opt/farm/][1 " + current + "/bin/][0 ][0 ]"));
    for (QString const & name : {u"\u00E4"_q, u"\u041F"_q, u"\u00C3\u00A4"_q}) {
        QString const path = folder.path() + u"/"_q + name;
        ASSERT_TRUE(QDir().mkpath(path) && QFile::copy(ownProgram(), path + u"/client"_q));
        QByteArray const bytes = name == u"\u00E4"_q ? path.toLatin1() : path.toUtf8();
        EXPECT_TRUE(runDisabledTest(path + u"/client"_q, u"PrintsApplicationPaths"_q)
                        .contains("[1 " + bytes + "/]"));
    }
}

} // namespace
