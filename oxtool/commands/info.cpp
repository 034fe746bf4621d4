#include "oxtool/commands/commands.h"
#include "oxtool/support/report.h"
#include "shared/system/environment.h"
#include "shared/system/identity.h"
#include "shared/system/sys_info.h"

namespace ox::tool
{
namespace
{

struct Options {
    int intervalMs = 500;
    bool json = false;
};

/// Reports the facts about the machine. A line of text can contain several facts; in JSON each fact
/// is a member of its own.
class Information
{
  public:
    Information(_oxSysInfo & info, Report & report) : info_(info), report_(report) {}

    void show(int intervalMs)
    {
        showMachine();
        showMemory();
        showLoad(intervalMs);
        showDisk();
        showUsers();
        showFolders();
        showSettings();
    }

  private:
    void set(char const * name, QJsonValue const & value)
    {
        report_.set(QString::fromLatin1(name), value);
    }

    void line(char const * label, QString const & text)
    {
        report_.line(QString::fromLatin1(label), text);
    }

    void showText(char const * label, char const * name, QString const & text)
    {
        set(name, text);
        line(label, text.isEmpty() ? QStringLiteral("unknown") : text);
    }

    void showMachine()
    {
        showText("system", "osString", info_.osString);
        set("osVersionNumber", info_.osVersionNumber);
        set("osCode", info_.osCode);
        showText("build", "build", osBitStr());
        showText("processors", "cpuString", info_.cpuString);
        set("coreCount", info_.coreCount);
        set("hyperThreading", info_.hyperThreading);
        set("cpuGHzTotal", info_.cpuGHzTotal);
        set("cpuGHzEffective", info_.cpuGHzEffective);
    }

    void showMemory()
    {
        int const kernel = info_.getKernelMemory();
        int const cache = info_.getSystemCacheSize();
        set("totalMemoryMB", info_.totalMemoryMB);
        set("freeMemoryMB", info_.freeMemoryMB);
        set("kernelMemoryMB", kernel < 0 ? QJsonValue() : kernel);
        set("systemCacheMB", cache);
        line(
            "memory",
            QStringLiteral("%1 MiB, %2 MiB free").arg(info_.totalMemoryMB).arg(info_.freeMemoryMB));
        line("kernel memory",
             kernel < 0 ? QStringLiteral("unknown")
                        : QStringLiteral("%1 MiB, %2 MiB file cache").arg(kernel).arg(cache));
    }

    void showLoad(int intervalMs)
    {
        info_.update(false);
        oxSleep(intervalMs);
        info_.update(false);
        set("cpuUsage", info_.cpuUsage.asSystemFloat());
        line("load", QStringLiteral("%1 of all cores, %2 of one core, over %3 ms")
                         .arg(info_.cpuUsage.strSystemPerc(), info_.cpuUsage.strCorePerc())
                         .arg(intervalMs));
    }

    void showDisk()
    {
        auto const temperature = info_.diskTemperature();
        set("diskName", info_.diskName);
        set("diskTemperature", temperature ? QJsonValue(*temperature) : QJsonValue());
        line("disk", temperature ? QStringLiteral("%1, %2 °C").arg(info_.diskName).arg(*temperature)
                                 : info_.diskName);
    }

    void showUsers()
    {
        QString const desktop = info_.guiUser();
        set("guiUser", desktop);
        line("desktop user", desktop.isEmpty() ? QStringLiteral("none") : desktop);
        _oxTime const input = _oxSysInfo::getLastUserInput();
        set("lastUserInput", input.value == 0 ? QJsonValue() : jsonTime(input.value));
        line("last input", input.value == 0 ? QStringLiteral("unknown") : timeText(input.value));
        showText("user", "userSID", getHKEY_CURRENT_USER_SID());
        showText("home", "userHome", getCurrentUserHomePath());
        showText("process user", "processUserSID", GetProcessUserSID());
        showText("process home", "processUserHome", GetProcessUserSIDProfilePath());
        set("isAdmin", oxIsSystemAdmin());
        line("administrator", yesOrNo(oxIsSystemAdmin()));
    }

    void showFolders()
    {
        showText("profile", "folderProfile", getWinFolderProfile());
        showText("local data", "folderLocalAppData", getWinFolderLocalAppData());
        showText("roaming data", "folderAppData", getWinFolderAppData());
    }

    void showSettings()
    {
        set("isX64", info_.isX64());
        line("64-bit system", yesOrNo(info_.isX64()));
        set("isUACenabled", info_.isUACenabled());
        line("UAC enabled", yesOrNo(info_.isUACenabled()));
    }

    static QString yesOrNo(bool value)
    {
        return value ? QStringLiteral("yes") : QStringLiteral("no");
    }

    _oxSysInfo & info_;
    Report & report_;
};

} // namespace

Command infoCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "info",
            .group = Group::Machine,
            .summary = "Show the machine, its load and its users",
            .options = {{.name = "--interval",
                         .letter = 'i',
                         .valueName = "TIME",
                         .help = "Period over which the load is measured",
                         .target = Milliseconds{&options->intervalMs},
                         .showsDefault = true,
                         .range = atLeast(0)},
                        jsonOption(options->json)},
            .examples = {"oxtool info --json"},
            .run = reporting(options, [](Options const & given, Report & report) {
                auto const info = std::make_unique<_oxSysInfo>();
                Information(*info, report).show(given.intervalMs);
            })};
}

} // namespace ox::tool
