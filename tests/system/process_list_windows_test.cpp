#include "shared/system/process_list.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <memory>

namespace
{

TEST(ProcessListOnWindows, EnablesExistingPrivileges)
{
    EXPECT_FALSE(setPrivilege("SeNoSuchPrivilege", true));
    EXPECT_TRUE(setPrivilege("SeChangeNotifyPrivilege", true));
}

TEST(ProcessListOnWindows, ReadsOwnersAndFigures)
{
    auto const list = std::make_unique<_oxProcessList>();
    auto const id = static_cast<unsigned>(QCoreApplication::applicationPid());
    EXPECT_EQ(list->getListIDByPID(0, false), 0);
    EXPECT_EQ(list->entries[0].name.view(), "IDLE");
    int const index = list->getListIDByPID(id, false);
    ASSERT_GE(index, 1);
    _oxProcessEntry const & own = list->entries[index];
    EXPECT_TRUE(own.name.endsWith(".EXE"));
    // getProcessInfo reads the figures even if the system's performance data contains no processes.
    list->getProcessInfo(index);
    EXPECT_FALSE(own.user.isEmpty());
    EXPECT_NE(own.user.view(), "noDebugPriv");
    EXPECT_GE(own.memMB, 1);
    EXPECT_GT(list->perfTime, 0);
}

} // namespace
