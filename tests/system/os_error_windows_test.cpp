#include "shared/system/os_error.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace
{

TEST(OsError, ReturnsTheSystemsMessageWithoutItsLineBreak)
{
    QString const text = oxLastOSError(ERROR_FILE_NOT_FOUND);
    EXPECT_TRUE(text.startsWith(QLatin1String("Error 2: "))) << text.toStdString();
    EXPECT_GT(text.size(), 15);
    EXPECT_FALSE(text.contains(QLatin1Char('\n')) || text.contains(QLatin1Char('\r')));
    EXPECT_TRUE(text.endsWith(QLatin1Char('.')));
}

TEST(OsError, ReadsTheLastErrorAndKeepsIt)
{
    ::SetLastError(ERROR_DISK_FULL);
    EXPECT_TRUE(oxLastOSError8().view().starts_with("Error 112: "));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_DISK_FULL));
    EXPECT_EQ(QString(oxLastOSError()), QString(oxLastOSError8(ERROR_DISK_FULL)));
    ::SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(oxLastOSError8(-1).view(), "No Error.");
}

} // namespace
