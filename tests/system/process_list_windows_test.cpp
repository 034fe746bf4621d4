#include "shared/system/process_list.h"
#include "tests/system/support.h"

#include <memory>

namespace
{

TEST(ProcessListOnWindows, EnablesThePrivilegesThatThereAre)
{
    EXPECT_FALSE(setPrivilege("SeNoSuchPrivilege", true));
    EXPECT_TRUE(setPrivilege("SeChangeNotifyPrivilege", true));
}

TEST(ProcessListOnWindows, ReadsOwnersAndBearsMissingCounters)
{
    auto const list = std::make_unique<_oxProcessList>();
    auto const id = static_cast<unsigned>(QCoreApplication::applicationPid());
    int const first = list->getListIDByPID(id, false);
    ASSERT_GE(first, 0);
    EXPECT_TRUE(list->entries[first].name.endsWith(".EXE"));
    // The first entry is never served, and this may be it.
    _oxProcessEntry & own = list->entries[list->count];
    own.pid = id;
    list->initGetProcessInfo();
    list->getProcessInfo(list->count);
    EXPECT_FALSE(own.user.isEmpty());
    EXPECT_NE(own.user.view(), "noDebugPriv");
    if (own.memMB == 0 && own.cpuTime == 0)
        GTEST_SKIP() << "the system has no performance data of processes";
    EXPECT_GE(own.memMB, 1);
    EXPECT_GT(list->perfTime, 0);
}

} // namespace
