#include "shared/system/environment.h"
#include "tests/support/own_program.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QStringList>

using namespace ox::tests;

namespace
{

TEST(Environment, ReturnsValuesAndLists)
{
    QString const path = u"/home/\u00E4"_q;
    qputenv("OX_TEST_LATIN1", path.toLocal8Bit());
    qputenv("OX_TEST_EQUALS", "a=b=c");
    EXPECT_EQ(oxGetEnvironmentVariable(u"OX_TEST_LATIN1"_q), path);
    EXPECT_EQ(oxGetEnvironmentVariable(u"OX_TEST_EQUALS"_q), u"a=b=c"_q);
    EXPECT_EQ(oxGetEnvironmentVariable(u"OX_TEST_UNSET"_q), QString());
    EXPECT_EQ(oxGetEnvironmentVariable8("OX_TEST_EQUALS").view(), "a=b=c");

    QStringList names{u"left over"_q}, values;
    oxGetEnvironmentVariableList(names, values);
    EXPECT_EQ(values.value(names.indexOf(u"OX_TEST_EQUALS"_q)), u"a=b=c"_q);
    EXPECT_FALSE(names.contains(u"left over"_q));
}

TEST(Environment, PrefersThe64BitProgramFolder)
{
    qunsetenv("ProgramW6432");
    qputenv("ProgramFiles", "x86");
    EXPECT_EQ(oxGetEnvironmentVariable(u"ProgramFiles"_q), u"x86"_q);
    qputenv("ProgramW6432", "");
    EXPECT_EQ(oxGetEnvironmentVariable8("ProgramFiles").view(), "x86");
    qputenv("ProgramW6432", "x64");
    EXPECT_EQ(oxGetEnvironmentVariable(u"ProgramFiles"_q), u"x64"_q);
    EXPECT_EQ(oxGetEnvironmentVariable8("ProgramFiles").view(), "x64");
}

TEST(Sleep, LastsTheFullTime)
{
    QElapsedTimer timer;
    timer.start();
    oxSleep(50);
    EXPECT_GE(timer.elapsed(), 49);

    timer.start();
    oxSleep(-5);
    oxSleep(0);
    EXPECT_LT(timer.elapsed(), 100);
}

TEST(ApplicationPath, IsTheFolderOfTheExecutable)
{
    QString const folder = QDir::toNativeSeparators(QFileInfo(ownProgram()).path() + u"/"_q);
    _oxString8_evenSize<250> path;
    EXPECT_TRUE(oxApplicationPath(path, nullptr));
    EXPECT_EQ(QString(path), folder);
    char elsewhere[] = "/opt/farm/client";
    EXPECT_EQ(QString(oxApplicationPath(elsewhere)), folder);
}

} // namespace
