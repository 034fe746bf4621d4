#pragma once

#include "shared/platform/result.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace ox::platform
{

/// Returns whether the process has all rights on this machine: it belongs to the administrators, or
/// its effective user is root.
bool isAdministrator();

/// Folders of the user: home, program data for this machine, and program data that follows the user
/// to other machines.
enum class UserFolder { Home, LocalData, RoamingData };

/// Returns a folder of the user, without a separator at its end.
Result<std::u16string> userFolder(UserFolder folder);

/// Selects a user of this process: the user whose settings the process uses (on Linux the real
/// user), or the user whose rights the process has (on Linux the effective user).
enum class UserOf { Settings, Process };

/// Values of Error::step when userId or userHome cannot open or cannot read the system's list of
/// users. On Windows the list is in the registry.
inline constexpr char openUserList[] = "open registry";
inline constexpr char readUserList[] = "read value";
/// Value of Error::step when the access token of the process cannot be read (Windows).
inline constexpr char readToken[] = "GetTokenInformation";

/// Buffer sizes in bytes of a GetTokenInformation call that failed; 0 if no call failed.
struct TokenSize {
    unsigned long needed = 0;   ///< required size
    unsigned long capacity = 0; ///< size of the buffer
};

/// Returns the SID of a user (Windows) or the user id (Linux). If GetTokenInformation fails, stores
/// its buffer sizes in `token`.
Result<std::u16string> userId(UserOf which, TokenSize & token);

/// Returns the home folder of a user from the system's list of users. If GetTokenInformation fails,
/// stores its buffer sizes in `token`.
Result<std::u16string> userHome(UserOf which, TokenSize & token);

/// Returns the file names of the executables of desktop shells, in upper case. The owner of a
/// desktop shell's process is the user of the desktop.
std::span<std::string_view const> desktopShells();

/// Returns whether a desktop shell's process may belong to the user of the desktop. On Linux,
/// returns false for a process that has ended, and for a system account (a user id below UID_MIN),
/// such as the account of a login screen. Always true on Windows.
bool mayBeDesktopUsers(std::uint32_t processId);

/// Time of the last user input by a clock that counts milliseconds.
struct InputTicks {
    std::uint64_t now;       ///< current time of the clock
    std::uint64_t lastInput; ///< time of the clock at the last input
};

/// Returns the time of the last user input; empty if it is not known.
std::optional<InputTicks> inputTicks();

} // namespace ox::platform
