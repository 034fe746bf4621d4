#include "shared/platform/windows/registry.h"
#include "shared/system/identity.h"
#include "shared/system/sys_info.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <QDir>

#include <windows.h>

#include <sddl.h>

using namespace ox::tests;

namespace
{

using namespace ox::platform;

TEST(Registry, ChangesOnlyTheNumberOneToZero)
{
    constexpr wchar_t path[] = L"Software\\oxShared test of switches";
    HKEY created = nullptr;
    ASSERT_EQ(::RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, REG_OPTION_VOLATILE,
                                KEY_ALL_ACCESS | KEY_WOW64_64KEY, nullptr, &created, nullptr),
              ERROR_SUCCESS);
    {
        RegistryKey const key(created);
        key.setNumber(L"one", 1);
        key.setNumber(L"two", 2);
        ::RegSetValueExW(key.get(), L"text", 0, REG_SZ, reinterpret_cast<BYTE const *>(L"1"), 4);
        ::RegSetValueExW(key.get(), L"path", 0, REG_EXPAND_SZ,
                         reinterpret_cast<BYTE const *>(L"%OX_TEST_ROOT%\\anna"), 40);
        ::RegSetValueExW(key.get(), L"short", 0, REG_DWORD, reinterpret_cast<BYTE const *>("\1"),
                         1);
        for (wchar_t const * name : {L"one", L"two", L"text", L"short", L"missing"})
            turnOff(HKEY_CURRENT_USER, path, name);
        EXPECT_EQ(key.number(L"one"), DWORD{0});
        EXPECT_EQ(key.number(L"two"), DWORD{2});
        EXPECT_EQ(key.text(L"text"), L"1");
        EXPECT_EQ(key.number(L"short"), std::nullopt);
        EXPECT_FALSE(key.hasValue(L"missing"));
        ::SetEnvironmentVariableW(L"OX_TEST_ROOT", L"C:\\users");
        EXPECT_EQ(key.text(L"path"), L"C:\\users\\anna");
    }
    ::RegDeleteKeyExW(HKEY_CURRENT_USER, path, KEY_WOW64_64KEY, 0);
    turnOff(HKEY_CURRENT_USER, path, L"one");
    EXPECT_FALSE(RegistryKey(HKEY_CURRENT_USER, path, KEY_QUERY_VALUE).isOpen());
}

TEST(UsersOnWindows, AreThoseOfTheProcess)
{
    EXPECT_EQ(osBitStr(), u"win"_q + QString::number(sizeof(void *) * 8));
    QString const id = GetProcessUserSID();
    PSID sid = nullptr;
    ASSERT_TRUE(::ConvertStringSidToSidW(reinterpret_cast<wchar_t const *>(id.utf16()), &sid))
        << id.toStdString();
    wchar_t name[256], domain[256], own[256];
    DWORD nameSize = 256, domainSize = 256, ownSize = 256;
    SID_NAME_USE use;
    EXPECT_TRUE(::LookupAccountSidW(nullptr, sid, name, &nameSize, domain, &domainSize, &use));
    EXPECT_TRUE(::GetUserNameW(own, &ownSize));
    EXPECT_STREQ(name, own);
    ::LocalFree(sid);
    EXPECT_EQ(getHKEY_CURRENT_USER_SID(), id);

    QString const home = GetProcessUserSIDProfilePath();
    EXPECT_EQ(getCurrentUserHomePath(), home);
    EXPECT_EQ(home.toLower(), getWinFolderProfile().toLower());
    EXPECT_TRUE(QDir(home).exists()) << home.toStdString();
    for (QString const & folder : {getWinFolderLocalAppData(), getWinFolderAppData()})
        EXPECT_TRUE(folder.startsWith(home, Qt::CaseInsensitive) && QDir(folder).exists())
            << folder.toStdString();
}

TEST(SysInfoOnWindows, FollowsTheRegistryAndTheSystem)
{
    auto const info = std::make_unique<_oxSysInfo>();
    RegistryKey const policy(HKEY_LOCAL_MACHINE,
                             L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Policies\\System",
                             KEY_QUERY_VALUE);
    EXPECT_EQ(info->isUACenabled(), policy.isOpen() && !policy.hasValue(L"EnableLUA"));
    EXPECT_EQ(info->getFullMemoryInfo(), u"-full mem output not available on windows-"_q);
    EXPECT_TRUE(info->osString.contains(u"_sp"_q)) << info->osString.toStdString();
    SYSTEM_INFO system;
    ::GetNativeSystemInfo(&system);
    EXPECT_EQ(info->coreCount, static_cast<int>(system.dwNumberOfProcessors));
}

std::uint64_t countOf(FILETIME time)
{
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

TEST(SysInfoOnWindows, AgreesWithTheIdleTimes)
{
    auto const info = std::make_unique<_oxSysInfo>();
    if (info->getCpuUsageDebug(true) == u"GetCounterValue failed"_q) {
        info->update(false);
        EXPECT_EQ(info->cpuUsage.value, 0);
        EXPECT_EQ(info->getKernelMemory(), -1);
        EXPECT_EQ(info->getSystemCacheSize(), 0);
        GTEST_SKIP() << "the system has no performance counters";
    }
    FILETIME idle[2], kernel[2], user[2];
    ::GetSystemTimes(&idle[0], &kernel[0], &user[0]);
    info->update(false);
    ::Sleep(1000);
    info->update(false);
    ::GetSystemTimes(&idle[1], &kernel[1], &user[1]);
    // The kernel time includes the idle time.
    double const all = double(countOf(kernel[1]) - countOf(kernel[0])) +
                       double(countOf(user[1]) - countOf(user[0]));
    EXPECT_NEAR(info->cpuUsage.value, 1 - double(countOf(idle[1]) - countOf(idle[0])) / all, 0.05);
}

} // namespace
