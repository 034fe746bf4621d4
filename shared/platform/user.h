#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace ox::platform
{

/// Whether the process has all rights on this machine: it belongs to the administrators, or its
/// effective user is root.
bool isAdministrator();

/// The folders of the user: the home, and what programs keep there for this machine and for all
/// machines that the user logs on to.
enum class UserFolder { Home, LocalData, RoamingData };

/// Without a separator at its end. Empty when the system does not tell.
std::optional<std::u16string> userFolder(UserFolder folder);

/// The user whose settings the process has (on Linux the real user), and the one whose rights it
/// has (the effective user).
enum class UserOf { Settings, Process };

/// Where a question about a user failed.
enum class UserStep { None, OpenProcess, OpenToken, ReadToken, OpenRegistry, ReadValue };

/// The answer to a question about a user or, when it failed, the step and the system's error.
struct UserAnswer {
    std::u16string text;
    UserStep failedAt = UserStep::None;
    int error = 0;
    unsigned long needed = 0; ///< bytes that the token would have taken
    unsigned long room = 0;   ///< bytes that there were for it
};

/// What the system knows the user by: the SID, the user's number on Linux.
UserAnswer userId(UserOf which);

/// The home folder by the system's list of users.
UserAnswer userHome(UserOf which);

/// The programs that show a desktop to the user who owns them, in capitals.
std::span<std::string_view const> desktopShells();

/// Whether a process may belong to the user of the desktop. False on Linux for a system account, as
/// a login screen has one (an id below UID_MIN), and for a process that has ended.
bool mayBeDesktopUsers(std::uint32_t processId);

/// A clock in milliseconds, and what it showed at the last input of a user.
struct InputTicks {
    std::uint64_t now;
    std::uint64_t lastInput;
};

/// Empty when the system does not tell.
std::optional<InputTicks> inputTicks();

} // namespace ox::platform
