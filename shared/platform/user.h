#pragma once

#include "shared/platform/result.h"

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

/// Without a separator at its end.
Result<std::u16string> userFolder(UserFolder folder);

/// The user whose settings the process has (on Linux the real user), and the one whose rights it
/// has (the effective user).
enum class UserOf { Settings, Process };

/// The steps at which userId and userHome fail, beside the calls of the system: both read the
/// system's list of users, which is in the registry on Windows.
inline constexpr char openUserList[] = "open registry";
inline constexpr char readUserList[] = "read value";
/// The call that reads the token of a process, of which TokenSize has the sizes.
inline constexpr char readToken[] = "GetTokenInformation";

/// The sizes of the read of a token, in bytes; 0 where none was read.
struct TokenSize {
    unsigned long needed = 0;
    unsigned long capacity = 0; ///< of the buffer
};

/// What the system knows the user by: the SID, the user's number on Linux. Sets `token` when the
/// step readToken fails.
Result<std::u16string> userId(UserOf which, TokenSize & token);

/// The home folder by the system's list of users. Sets `token` as userId does.
Result<std::u16string> userHome(UserOf which, TokenSize & token);

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
