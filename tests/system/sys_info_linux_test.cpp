#include "shared/platform/linux/system_texts.h"
#include "shared/system/environment.h"
#include "shared/system/identity.h"
#include "shared/system/sys_info.h"
#include "tests/support/child.h"
#include "tests/support/program_run.h"
#include "tests/support/shell.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>

#include <atomic>
#include <fstream>
#include <thread>

#include <unistd.h>

using namespace ox::tests;

namespace
{

using namespace ox::platform;

/// Sets or removes an environment variable. The destructor restores the previous value.
class Variable
{
  public:
    Variable(char const * name, char const * value) : name_(name), saved_(qgetenv(name))
    {
        value ? qputenv(name, value) : qunsetenv(name);
    }
    ~Variable() { saved_.isNull() ? qunsetenv(name_) : qputenv(name_, saved_); }
    Variable(Variable const &) = delete;
    Variable & operator=(Variable const &) = delete;

  private:
    char const * name_;
    QByteArray saved_;
};

TEST(SystemNameOnLinux, IsReadFromOsRelease)
{
    EXPECT_EQ(systemNameOf("PRETTY_NAME=\"x\"\nNAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\n"),
              u"Debian GNU/Linux 12");
    EXPECT_EQ(systemNameOf("# NAME=no\nVERSION_ID='39'\nNAME=Fedora\\ \\\"F\\\""),
              u"Fedora \"F\" 39");
    EXPECT_EQ(systemNameOf("NAME=\"Arch Linux\"\n"), u"Arch Linux");
    EXPECT_EQ(systemNameOf("VERSION_ID=12\nNAME=\n\"\n="), u"");
}

TEST(ProcessorsOnLinux, AreCountedByPackageAndCore)
{
    Processors const found = processorsOf("vendor_id\t: GenuineIntel\ncpu MHz\t\t: 3392.5\n"
                                          "physical id\t: 0\ncore id\t\t: 0\n\n"
                                          "cpu MHz\t\t: 800.0\nphysical id\t: 0\ncore id\t\t: 0\n\n"
                                          "physical id\t: 1\ncore id\t\t: 0\n");
    EXPECT_EQ(found.vendor, "GenuineIntel");
    EXPECT_EQ(found.megahertz, 3392u);
    EXPECT_EQ(found.coreThreads, (std::vector<int>{2, 1}));
    Processors const none = processorsOf("processor: 0\nBogoMIPS: 48\ncpu MHz: fast\nvendor_id");
    EXPECT_TRUE(none.coreThreads.empty() && none.vendor.empty() && none.megahertz == 0);
}

TEST(IdleTimeOnLinux, IsAveragedOverTheProcessors)
{
    auto const sample = idleSampleOf("cpu  10 20 30 400 60 3 4 73 99 99\n"
                                     "cpu0 5 10 15 200 30 0 0 0 0 0\ncpu1 5 10\nintr 1\ncpu9 1\n",
                                     100);
    ASSERT_TRUE(sample.has_value());
    EXPECT_EQ(sample->idle, 230 * 100000);
    EXPECT_EQ(sample->time, 300 * 100000);
    for (char const * damaged : {"cpu  1 2 3 4 5 6 7\ncpu0 1", "cpu 1 2 3 4 5 6 7 8\n",
                                 "cpu 9223372036854775807 1 3 4 5 6 7 8\ncpu0 1"})
        EXPECT_FALSE(idleSampleOf(damaged, 100).has_value()) << damaged;
}

TEST(DiskOnLinux, IsTheFirstFixedDisk)
{
    TemporaryFolder dir;
    std::filesystem::path const root = dir.path().toStdString();
    auto const add = [&root](std::string const & device, char const * removable) {
        auto const folder = root / "devices" / device;
        std::filesystem::create_directories(folder / "device/hwmon/hwmon3");
        std::ofstream(folder / "removable") << removable << '\n';
        std::ofstream(folder / "device/model") << "Farm Disk 500   \n";
        std::ofstream(folder / "device/hwmon/hwmon3/temp1_input") << "37850\n";
        std::filesystem::create_directory_symlink(folder, root / "block" / folder.filename());
    };
    std::filesystem::create_directories(root / "block/loop0");
    EXPECT_EQ(firstDiskIn(root / "block"), std::filesystem::path());
    EXPECT_EQ(firstDiskIn(root / "none"), std::filesystem::path());
    add("pci0/ata1/host0/block/sdb", "0");
    add("pci0/usb1/host2/block/sda", "1");
    EXPECT_EQ(firstDiskIn(root / "block"), root / "block/sdb");

    Disk const disk = describedDisk(root / "block/sdb", true);
    EXPECT_EQ(disk.model, u"Farm Disk 500");
    EXPECT_EQ(disk.temperature, 37);
    EXPECT_EQ(disk.bus, DiskBus::Ata);
    add("pci0/end_device-0:0/block/sdc", "0");
    add("pci0/host5/block/sdd", "0");
    add("pci0/virtio1/block/vda", "0");
    EXPECT_EQ(describedDisk(root / "block/sda", false).bus, DiskBus::Other);
    EXPECT_EQ(describedDisk(root / "block/sdc", false).bus, DiskBus::Sas);
    EXPECT_EQ(describedDisk(root / "block/sdd", false).bus, DiskBus::Scsi);
    EXPECT_EQ(describedDisk(root / "block/vda", false).bus, DiskBus::Other);
    EXPECT_EQ(describedDisk(root / "block/sdb", false).temperature, std::nullopt);
}

TEST(UsersOnLinux, AreThoseOfTheProcess)
{
    EXPECT_EQ(oxIsSystemAdmin(), ::geteuid() == 0);
    EXPECT_EQ(getHKEY_CURRENT_USER_SID(), QString::number(::getuid()));
    EXPECT_EQ(QString(GetProcessUserSID()), QString::number(::geteuid()));
    ProgramRun const database = Shell().run("getent passwd $(id -ur) | cut -d: -f6");
    ASSERT_TRUE(database.hasEnded);
    QString const home = QString::fromUtf8(database.output).trimmed();
    QString const expected = home.isEmpty() ? u"ERROR: Unable to read value;"_q : home;
    EXPECT_EQ(getCurrentUserHomePath(), expected);
    EXPECT_EQ(GetProcessUserSIDProfilePath(), expected);
}

TEST(FoldersOnLinux, FollowTheEnvironmentThenTheHome)
{
    Variable const home("HOME", "/home/anna \xC3\xA4"), data("XDG_DATA_HOME", nullptr),
        config("XDG_CONFIG_HOME", "relative");
    EXPECT_EQ(getWinFolderProfile(), u"/home/anna \u00e4"_q);
    EXPECT_EQ(getWinFolderLocalAppData(), u"/home/anna \u00e4/.local/share"_q);
    EXPECT_EQ(getWinFolderAppData(), u"/home/anna \u00e4/.config"_q);
    Variable const ownData("XDG_DATA_HOME", "/data"), ownConfig("XDG_CONFIG_HOME", "/config");
    EXPECT_EQ(getWinFolderLocalAppData(), u"/data"_q);
    EXPECT_EQ(getWinFolderAppData(), u"/config"_q);
    Variable const noHome("HOME", nullptr);
    QString const known = getCurrentUserHomePath();
    EXPECT_EQ(getWinFolderProfile(), known.startsWith(u'/') ? known : QString());
}

/// Returns the idle time and the total time of all processors, from /proc/stat.
std::pair<double, double> readTimes()
{
    std::ifstream stat("/proc/stat");
    std::string name;
    double sum = 0, idle = 0, ticks = 0;
    stat >> name;
    for (int state = 0; state < 8 && stat >> ticks; ++state) {
        sum += ticks;
        idle += state == 3 || state == 4 ? ticks : 0;
    }
    return {idle, sum};
}

TEST(SysInfoOnLinux, AgreesWithTheKernel)
{
    auto const info = std::make_unique<_oxSysInfo>();
    auto const before = readTimes();
    info->update(false);
    std::atomic<bool> isOver = false;
    std::thread burner([&isOver] {
        while (!isOver)
            ;
    });
    oxSleep(800);
    info->update(false);
    auto const after = readTimes();
    isOver = true;
    burner.join();
    double const idle = (after.first - before.first) / (after.second - before.second);
    EXPECT_NEAR(info->cpuUsage.value, 1 - idle, 0.05);
    EXPECT_GT(info->cpuUsage.value, 0);

    ProgramRun const tools =
        Shell().run("grep -c ^processor /proc/cpuinfo; . /etc/os-release && "
                    "echo $NAME $VERSION_ID; free -m | awk '/^Mem/{print $2}'");
    ASSERT_TRUE(tools.hasEnded);
    QStringList const lines = QString::fromUtf8(tools.output).split(u'\n');
    EXPECT_EQ(QString::number(info->coreCount), lines.value(0));
    EXPECT_EQ(info->osString, lines.value(1));
    EXPECT_EQ(info->osCode, 0);
    EXPECT_EQ(info->osVersionNumber, 0);
    EXPECT_NEAR(info->totalMemoryMB, lines.value(2).toInt(), 1);
    EXPECT_GT(info->getKernelMemory(), 0);
    EXPECT_TRUE(info->getFullMemoryInfo().contains(u"MemTotal:"_q));
    EXPECT_FALSE(info->isUACenabled());
}

TEST(SysInfoOnLinux, ReportsRawCounters)
{
    auto const info = std::make_unique<_oxSysInfo>();
    info->getCpuUsageDebug(true);
    oxSleep(50);
    QString const text = info->getCpuUsageDebug(false);
    EXPECT_TRUE(QRegularExpression(u"^lnNew \\d+  lnOld \\d+ delta -?\\d+ NewnSec.QuadPart \\d+  "
                                   "OldnSec.QuadPart \\d+ delta \\d+$"_q)
                    .match(text)
                    .hasMatch())
        << text.toStdString();
}

TEST(UsersOnLinux, BeginAtTheIdInLoginDefs)
{
    EXPECT_EQ(firstUserId("# UID_MIN 1\nSYS_UID_MIN 101\nUID_MIN\t\t  500\nUID_MAX 60000\n"), 500u);
    EXPECT_EQ(firstUserId("UID_MIN many"), 1000u);
    EXPECT_EQ(firstUserId(""), 1000u);
}

TEST(SysInfoOnLinux, FindsTheOwnerOfTheDesktop)
{
    TemporaryFolder dir;
    QString const shell = dir.path() + u"/sway"_q;
    ASSERT_TRUE(QFile::copy(QStandardPaths::findExecutable(u"sleep"_q), shell));
    auto const info = std::make_unique<_oxSysInfo>();
    QString const before = info->guiUser();
    Child const desktop(shell, {u"60"_q});
    ProgramRun const id = runProgram(u"id"_q, {u"-un"_q});
    ASSERT_TRUE(id.hasEnded);
    bool const isSystemAccount = ::geteuid() < 1000;
    EXPECT_EQ(info->guiUser(), isSystemAccount ? before : QString::fromUtf8(id.output).trimmed());
    if (::geteuid() == 0) {
        ASSERT_EQ(::chmod(dir.path().toStdString().c_str(), 0755), 0);
        Child const users(u"setpriv"_q, {u"--reuid=65534"_q, u"--clear-groups"_q, shell, u"60"_q});
        for (int i = 0; i < 200 && info->guiUser() == before; ++i)
            oxSleep(10);
        EXPECT_EQ(info->guiUser(), u"nobody"_q);
    }
}

} // namespace
