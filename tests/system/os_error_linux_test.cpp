#include "shared/system/os_error.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

namespace
{

TEST(OsError, ReadsTheLastErrorOfTheThreadAndKeepsIt)
{
    errno = ENOSPC;
    std::thread([] { errno = EPERM; }).join();
    EXPECT_EQ(oxLastOSError8().view(), "Error 28: No space left on device.");
    EXPECT_EQ(QString(oxLastOSError()), QString(oxLastOSError8(ENOSPC)));
    EXPECT_EQ(QString(oxLastOSError(EACCES)), QLatin1String("Error 13: Permission denied."));
    errno = 0;
    EXPECT_EQ(oxLastOSError8(-1).view(), "No Error.");
}

} // namespace
