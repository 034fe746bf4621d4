#include "shared/system/shared_memory.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>

using namespace ox::tests;

TEST(ShmOnLinux, ReleasesSegmentAndLockWhenStopped)
{
    QString const key = QStringLiteral("stop%1").arg(QCoreApplication::applicationPid());
    oxSharedMemory memory(key);
    ToolRun creator({QStringLiteral("shm"), QStringLiteral("create"), key, QStringLiteral("1")});
    ASSERT_TRUE(creator.waitForOutput("created")) << creator.errors().toStdString();
    ASSERT_TRUE(memory.attach());
    ToolRun locker({QStringLiteral("shm"), QStringLiteral("lock"), key});
    ASSERT_TRUE(locker.waitForOutput("locked")) << locker.errors().toStdString();
    locker.send("INT");
    EXPECT_EQ(locker.status(), 130);
    EXPECT_FALSE(memory.isLocked());
    memory.detach();
    creator.send("TERM");
    EXPECT_EQ(creator.status(), 143);
    QDir const objects(QStringLiteral("/dev/shm"));
    EXPECT_EQ(objects.entryList({QLatin1Char('*') + key + QLatin1Char('*')}), QStringList());
}
