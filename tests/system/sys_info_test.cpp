#include "shared/system/sys_info.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

using namespace ox::tests;

namespace
{

TEST(SysInfo, IsCompleteAfterConstruction)
{
    auto const info = std::make_unique<_oxSysInfo>();
    EXPECT_FALSE(info->osString.isEmpty());
    EXPECT_GE(info->coreCount, 1);
    EXPECT_GT(info->totalMemoryMB, 0);
    EXPECT_TRUE(info->freeMemoryMB > 0 && info->freeMemoryMB <= info->totalMemoryMB);
    QRegularExpression const cpu(u"^\\d+(\\(HT\\))?x\\d+\\.\\d .*\\d+\\.\\dGhz$"_q);
    EXPECT_TRUE(cpu.match(info->cpuString).hasMatch()) << info->cpuString.toStdString();
    EXPECT_TRUE(info->cpuUsage.value >= 0 && info->cpuUsage.value <= 1);
    EXPECT_EQ(static_cast<int>(info->cpuUsage.coreCount), info->coreCount);
    EXPECT_FALSE(info->diskName.isEmpty());
    EXPECT_EQ(info->guiUserLast, u"init"_q);
    EXPECT_EQ(info->guiUserChanged.value, 0);
    EXPECT_TRUE(info->isX64());
    EXPECT_LE(_oxSysInfo::getLastUserInput().value, _oxTime(true).value);
    // The kernel uses only a part of the memory.
    EXPECT_LT(info->getKernelMemory(), info->totalMemoryMB);
    EXPECT_GE(info->getSystemCacheSize(), 0);
}

TEST(SysInfo, ReportsWhenTheDesktopUserChanges)
{
    auto const info = std::make_unique<_oxSysInfo>();
    QString const user = info->guiUser();
    EXPECT_EQ(info->guiUserLast, user);
    EXPECT_NEAR(double(info->guiUserChanged.value), double(_oxTime(true).value), 5);
    info->guiUserChanged = _oxTime();
    EXPECT_EQ(info->guiUser(), user);
    EXPECT_EQ(info->guiUserChanged.value, 0);
}

TEST(SysInfo, PrintsTheDiskIfVerbose)
{
    auto const info = std::make_unique<_oxSysInfo>();
    for (bool const verbose : {false, true}) {
        info->verbose = verbose;
        testing::internal::CaptureStdout();
        info->update(true);
        info->update(false);
        std::fflush(stdout);
        QString const printed = QString::fromStdString(testing::internal::GetCapturedStdout());
        EXPECT_EQ(printed.isEmpty(), !verbose);
        for (QString const & line : printed.split(u'\n', Qt::SkipEmptyParts))
            EXPECT_TRUE(line.startsWith(u' ')) << line.toStdString();
    }
}

} // namespace
