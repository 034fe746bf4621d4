#include "shared/platform/file_names.h"
#include "shared/platform/linux/folder_names.h"
#include "shared/platform/linux/kernel_file.h"
#include "shared/platform/linux/system_texts.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ox::platform
{
namespace
{

constexpr std::int64_t nanoseconds = 1'000'000'000;

/// Returns the folder in an environment variable. Empty if the variable is not set or contains a
/// relative path.
std::optional<std::string> folderVariable(char const * name)
{
    char const * const value = std::getenv(name);
    return value && *value == '/' ? std::optional<std::string>(value) : std::nullopt;
}

uid_t numberOf(UserOf which)
{
    return which == UserOf::Settings ? ::getuid() : ::geteuid();
}

/// Returns the folder in the environment variable `variable`. If the variable is not set or has a
/// relative path, returns `defaultFolder` in the home folder.
Result<std::u16string> folderInHome(char const * variable, char const * defaultFolder)
{
    if (auto const named = folderVariable(variable))
        return systemText(*named);
    if (auto const home = folderVariable("HOME"))
        return systemText(*home + defaultFolder);
    TokenSize token;
    auto const known = userHome(UserOf::Settings, token);
    return known ? systemText(toUtf8(*known) + defaultFolder) : known;
}

std::int64_t countOf(timespec time)
{
    return time.tv_sec * nanoseconds + time.tv_nsec;
}

std::int64_t clockCount(clockid_t clock)
{
    timespec time{};
    ::clock_gettime(clock, &time);
    return countOf(time);
}

/// Returns the time of the last input at a terminal, in ns since 1970-01-01 UTC. Returns 0 if
/// there was no input since the terminal was created or was given to another owner.
std::int64_t lastTyped(char const * terminal)
{
    struct stat status;
    if (::stat(terminal, &status) != 0 || !S_ISCHR(status.st_mode))
        return 0;
    std::int64_t const typed = countOf(status.st_atim);
    return typed > countOf(status.st_ctim) ? typed : 0;
}

} // namespace

bool isAdministrator()
{
    return ::geteuid() == 0;
}

Result<std::u16string> userFolder(UserFolder folder)
{
    switch (folder) {
    case UserFolder::LocalData:
        return folderInHome("XDG_DATA_HOME", "/.local/share");
    case UserFolder::RoamingData:
        return folderInHome("XDG_CONFIG_HOME", "/.config");
    case UserFolder::Home:
        break;
    }
    return folderInHome("HOME", "");
}

Result<std::u16string> userId(UserOf which, TokenSize &)
{
    return systemText(std::to_string(numberOf(which)));
}

Result<std::u16string> userHome(UserOf which, TokenSize &)
{
    std::vector<char> texts(1024);
    passwd entry{};
    passwd * found = nullptr;
    int error = 0;
    while ((error = ::getpwuid_r(numberOf(which), &entry, texts.data(), texts.size(), &found)) ==
           ERANGE)
        texts.resize(texts.size() * 2);
    if (found)
        return systemText(found->pw_dir);
    return error == 0 ? Error{ENOENT, readUserList} : Error{error, openUserList};
}

std::span<std::string_view const> desktopShells()
{
    static constexpr std::string_view names[] = {
        "GNOME-SHELL", "PLASMASHELL", "XFCE4-SESSION", "CINNAMON", "MATE-SESSION", "LXQT-SESSION",
        "LXSESSION",   "UNITY",       "BUDGIE-PANEL",  "SWAY",     "I3",           "OPENBOX"};
    return names;
}

std::uint32_t firstUserId(std::string_view loginDefs)
{
    std::uint32_t first = 1000;
    while (!loginDefs.empty()) {
        std::string_view line = trimmed(takeUntil(loginDefs, '\n'));
        std::size_t const end = std::min(line.find_first_of(" \t"), line.size());
        if (line.substr(0, end) == "UID_MIN")
            first = numberOf<std::uint32_t>(line.substr(end)).value_or(first);
    }
    return first;
}

bool mayBeDesktopUsers(std::uint32_t processId)
{
    struct stat status;
    return ::stat(("/proc/" + std::to_string(processId)).c_str(), &status) == 0 &&
           status.st_uid >= firstUserId(wholeFile("/etc/login.defs"));
}

std::optional<InputTicks> inputTicks()
{
    std::int64_t typed = 0;
    forEachName(AT_FDCWD, "/dev/pts", [&typed](char const * name) {
        typed = std::max(typed, lastTyped((std::string("/dev/pts/") + name).c_str()));
    });
    for (int console = 1; console < 64; ++console)
        typed = std::max(typed, lastTyped(("/dev/tty" + std::to_string(console)).c_str()));

    // The ticks come from CLOCK_BOOTTIME, which no program can set.
    std::int64_t const running = clockCount(CLOCK_BOOTTIME);
    std::int64_t const ago = clockCount(CLOCK_REALTIME) - typed;
    if (typed == 0 || ago < 0 || ago >= running)
        return std::nullopt;
    constexpr std::int64_t millisecond = 1'000'000;
    return InputTicks{static_cast<std::uint64_t>(running / millisecond),
                      static_cast<std::uint64_t>((running - ago) / millisecond)};
}

} // namespace ox::platform
