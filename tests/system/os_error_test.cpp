#include "shared/platform/this_process.h"
#include "shared/system/identity.h"
#include "shared/system/os_error.h"

#include <gtest/gtest.h>

#include <QDebug>

namespace
{

TEST(OsError, ReturnsCodeAndMessage)
{
    EXPECT_EQ(oxLastOSError8(0).view(), "No Error.");
    EXPECT_EQ(oxLastOSError8(126).view(), "A DLL is missing.");
    EXPECT_EQ(oxLastOSError8(1234567).view(), "EXCEPTION code 1234567.No system message found");
    EXPECT_EQ(oxLastOSError8(-5).view(), "EXCEPTION code -5.No system message found");
}

TEST(ExceptionText, ReturnsTheTextsOfExceptions)
{
    EXPECT_EQ(
        QString(exceptionCodeText(0xC0000005)),
        QLatin1String("EXCEPTION: The thread tried to read from or write to a virtual address "
                      "for which it does not have the appropriate access. (Possible NULL "
                      "Pointer)"));
    // The longest text must fit into the 8-bit string, too.
    EXPECT_TRUE(oxLastOSError8(static_cast<int>(0x80000002))
                    .view()
                    .ends_with("32-bit values on 4-byte boundaries, and so on."));
    EXPECT_EQ(QString(exceptionCodeText(0xC00000FD)),
              QLatin1String("EXCEPTION: The thread used up its stack."));
    EXPECT_EQ(QString(exceptionCodeText(0xC0000001)),
              QLatin1String("EXCEPTION code -1073741823.No system message found"));
}

TEST(Identity, ReturnsTheNamesOfApplicationsAndSystems)
{
    EXPECT_EQ(ox_AppType_asString(ox_AppType::None), _oxString<25>("None"));
    EXPECT_EQ(ox_AppType_asString(ox_AppType(8)), _oxString<25>("ClientWatch"));
    EXPECT_EQ(ox_AppType_asString(ox_AppType(13)), _oxString<25>("Script"));
    QString printed;
    QDebug(&printed).nospace() << ox_AppType::Script << ' ' << ox_AppType(14) << ' ' << _oxOS::Linux
                               << ' ' << _oxOS(9);
    EXPECT_EQ(printed, QLatin1String("Script 14 Linux 9"));
    EXPECT_EQ(ox_AppType_asString(ox_AppType(14)), _oxString<25>("unknown"));
    EXPECT_EQ(ox_AppType_asString(ox_AppType(-1)), _oxString<25>("unknown"));

    QString const bits = QString::number(sizeof(void *) * 8);
    std::tuple<int, char const *, char const *> const systems[] = {
        {0, "All/Unknown", "all"}, {1, "Windows", "win"}, {2, "Linux", "lx"}, {3, "Mac", "mac"}};
    for (auto const & [number, name, shortName] : systems) {
        _oxOS const os = _oxOS(number);
        EXPECT_EQ(OS2String(os), QLatin1String(name));
        EXPECT_EQ(OS2String_short(os, false), QLatin1String(shortName));
        EXPECT_EQ(OS2String_short(os, true), QLatin1String(shortName) + bits);
    }
    EXPECT_EQ(OS2String(_oxOS(4)), QString());
    EXPECT_EQ(OS2String_short(_oxOS(-1), true), QString());
    _oxOS const own = static_cast<_oxOS>(ox::platform::ownSystem);
    EXPECT_EQ(thisOS2String_short(true), OS2String_short(own, false) + bits);
}

} // namespace
