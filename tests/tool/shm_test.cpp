#include "shared/system/shared_memory.h"
#include "tests/support/this_build.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>

#include <algorithm>
#include <cstring>

using namespace ox::tests;

namespace
{

class Shm : public testing::Test
{
  protected:
    QString const key = u"tool%1"_q.arg(QCoreApplication::applicationPid());
    oxSharedMemory memory{key};
};

TEST_F(Shm, ShowsTheContentOfASegment)
{
    ASSERT_TRUE(memory.create(5, true, true));
    std::memcpy(memory.bytes().data(), "Job\1\xFF", 5);
    ASSERT_TRUE(memory.lock());
    ToolRun shown("shm show %1 --bytes 5", {key});
    EXPECT_EQ(shown.status(), 0) << shown.errors().toStdString();
    for (char const * part : {"held", " 4A 6F 62 01 FF ", " Job.."})
        EXPECT_TRUE(shown.output().contains(text(part))) << part;

    ToolRun list("shm list --json");
    QJsonArray const segments = list.json().value(u"segments"_q).toArray();
    EXPECT_TRUE(std::ranges::any_of(segments, [this](QJsonValue const & each) {
        QJsonObject const segment = each.toObject();
        return segment.value(u"key"_q) == key && segment.value(u"size"_q) == 4088 &&
               segment.value(u"locked"_q).toBool();
    })) << list.output().toStdString();

    memory.unlock();
    QJsonObject const json = ToolRun("shm show %1 --json", {key}).json();
    EXPECT_TRUE(json.value(u"name"_q).toString().contains(key));
    EXPECT_FALSE(json.value(u"locked"_q).toBool(true));
    EXPECT_EQ(json.value(u"size"_q).toInt(), 4088);
    EXPECT_EQ(json.value(u"data"_q).toString(),
              u"4a6f6201ff"_q.leftJustified(128, QLatin1Char('0')));
}

TEST_F(Shm, HoldsASegmentAndItsLockUntilStopped)
{
    ToolRun creator("shm create %1 100 --local", {key});
    ASSERT_TRUE(creator.waitForOutput("created")) << creator.errors().toStdString();
    ASSERT_TRUE(memory.attach());
    EXPECT_FALSE(memory.usesGlobalName());
    ToolRun locker("shm lock %1", {key});
    ASSERT_TRUE(locker.waitForOutput("locked")) << locker.errors().toStdString();
    EXPECT_TRUE(memory.isLocked());
    expectError("shm lock %1", {key}, 4,
                u"cannot lock segment '%1': lock: unable to get lock"_q.arg(key));
    expectError("shm create %1 9 --local", {key}, 1, {});
    if (isWindows)
        return; // the test cannot send signals on this system
    locker.send("INT");
    EXPECT_EQ(locker.status(), 130);
    EXPECT_FALSE(memory.isLocked());
    memory.detach();
    creator.send("TERM");
    EXPECT_EQ(creator.status(), 143);
    EXPECT_TRUE(QDir(u"/dev/shm"_q).entryList({u"*%1*"_q.arg(key)}).isEmpty());
}

TEST_F(Shm, ReportsFailures)
{
    expectError("shm show %1", {key}, 5, key + u"': it does not exist"_q);
    expectError("shm create %1 0", {key}, 1, {});
    expectError("shm create %1 9999999999", {key}, 2, {});
    expectError("shm", {}, 2, {});
    expectError("shm show %1", {QString(233, u'k')}, 1, {});
}

} // namespace
