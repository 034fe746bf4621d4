#include "shared/system/shared_memory.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <cstring>

using namespace ox::tests;

namespace
{

class Shm : public testing::Test
{
  protected:
    QStringList shm(char const * command, QStringList const & arguments = {}) const
    {
        return QStringList{QStringLiteral("shm"), QString::fromLatin1(command), key} + arguments;
    }

    QString const key = QStringLiteral("tool%1").arg(QCoreApplication::applicationPid());
    oxSharedMemory memory{key};
};

TEST_F(Shm, ShowsTheContentOfASegment)
{
    ASSERT_TRUE(memory.create(5, true, true));
    std::memcpy(memory.bytes().data(), "Job\1\xFF", 5);
    ASSERT_TRUE(memory.lock());
    ToolRun text(shm("show", {QStringLiteral("--bytes"), QStringLiteral("5")}));
    EXPECT_EQ(text.status(), 0) << text.errors().toStdString();
    EXPECT_TRUE(text.output().contains(QLatin1String("held")));
    EXPECT_TRUE(text.output().contains(QLatin1String(" 4A 6F 62 01 FF ")));
    EXPECT_TRUE(text.output().contains(QLatin1String(" Job..")));

    memory.unlock();
    QJsonObject const json = ToolRun(shm("show", {QStringLiteral("--json")})).json();
    EXPECT_TRUE(json.value(QStringLiteral("name")).toString().contains(key));
    EXPECT_FALSE(json.value(QStringLiteral("locked")).toBool(true));
    EXPECT_EQ(json.value(QStringLiteral("size")).toInt(), 4088);
    QString const data = json.value(QStringLiteral("data")).toString();
    EXPECT_EQ(data, QStringLiteral("4a6f6201ff").leftJustified(128, QLatin1Char('0')));
}

TEST_F(Shm, HoldsASegmentAndItsLock)
{
    ToolRun creator(shm("create", {QStringLiteral("100"), QStringLiteral("--local")}));
    ASSERT_TRUE(creator.waitForOutput("created")) << creator.errors().toStdString();
    ASSERT_TRUE(memory.attach());
    EXPECT_FALSE(memory.usesGlobalName());
    ToolRun locker(shm("lock"));
    ASSERT_TRUE(locker.waitForOutput("locked")) << locker.errors().toStdString();
    EXPECT_TRUE(memory.isLocked());

    ToolRun second(shm("lock"));
    EXPECT_EQ(second.status(), 1);
    EXPECT_TRUE(second.errors().contains(QLatin1String("cannot lock segment '") + key +
                                         QLatin1String("': lock: unable to get lock")));
    EXPECT_EQ(ToolRun(shm("create", {QStringLiteral("9"), QStringLiteral("--local")})).status(), 1);
}

TEST_F(Shm, ReportsFailures)
{
    ToolRun none(shm("show"));
    EXPECT_EQ(none.status(), 1);
    EXPECT_TRUE(none.errors().contains(key + QLatin1String("': it does not exist")));
    EXPECT_EQ(ToolRun(shm("create", {QStringLiteral("0")})).status(), 1);
    EXPECT_EQ(ToolRun(shm("create", {QStringLiteral("9999999999")})).status(), 2);
    EXPECT_EQ(ToolRun({QStringLiteral("shm")}).status(), 2);
    QString const tooLong(233, QLatin1Char('k'));
    EXPECT_EQ(ToolRun({QStringLiteral("shm"), QStringLiteral("show"), tooLong}).status(), 1);
}

} // namespace
