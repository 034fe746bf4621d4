#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"

#include <QString>

/// The applications of the farm. The farm's records contain the values, so they must not change.
enum class ox_AppType : int {
    None,
    Server,
    Client,
    Submitter,
    Control,
    PostScript,
    Test,
    LogFile,
    ClientWatch,
    Config,
    Viewer,
    Installer,
    HistoryDB,
    Script
};

/// The operating systems of the farm. The farm's records contain the values, so they must not
/// change.
enum class _oxOS : int { All, Windows, Linux, Mac };

/// Returns the enumerator's name, or "unknown" for any other value.
OX_EXPORT _oxString<25> ox_AppType_asString(ox_AppType const & t);

/// Returns "All/Unknown", "Windows", "Linux" or "Mac"; empty for any other value.
OX_EXPORT QString OS2String(_oxOS const & os);

/// Returns the enumerator's name, or the value as a number if it is not an enumerator, for logs and
/// messages.
OX_EXPORT QString oxPrintedText(ox_AppType const & type);
/// Returns the result of OS2String, or the value as a number if it is not an enumerator, for logs
/// and messages.
OX_EXPORT QString oxPrintedText(_oxOS const & os);

/// Returns "all", "win", "lx" or "mac"; empty for any other value. With `withBits` the name ends
/// with the word size of this build: "win32", "lx64".
OX_EXPORT QString OS2String_short(_oxOS const & os, bool const & withBits);

/// Returns the short name of the running system: "lx". With `withBits` the name ends with the word
/// size of this build: "lx64".
OX_EXPORT QString thisOS2String_short(bool const & withBits);

/// Returns the short name of the running system with the word size of this build: "win32", "lx64".
OX_EXPORT QString osBitStr();

/// Returns whether the process has all rights on this machine: it belongs to the administrators
/// (Windows), or its effective user is root (Linux).
OX_EXPORT bool oxIsSystemAdmin();

/// Returns the user's home folder ($HOME on Linux), without a separator at its end.
/// Fails: returns the empty text; `oxLastOSError` has the reason.
OX_EXPORT QString getWinFolderProfile();
/// Returns the user's folder for program data that stays on this machine ($XDG_DATA_HOME on Linux,
/// by default .local/share in the home folder), without a separator at its end.
/// Fails: returns the empty text; `oxLastOSError` has the reason.
OX_EXPORT QString getWinFolderLocalAppData();
/// Returns the user's folder for program data that follows the user to other machines
/// ($XDG_CONFIG_HOME on Linux, by default .config in the home folder), without a separator at its
/// end.
/// Fails: returns the empty text; `oxLastOSError` has the reason.
OX_EXPORT QString getWinFolderAppData();

// The following functions read the system's list of users, and no environment variables. A failure
// returns a text that begins with "Error " or "ERROR: "; `oxLastOSError` has the reason.

/// Returns the id of the user whose settings the process uses: the SID under which
/// HKEY_CURRENT_USER is loaded (Windows), the real user id (Linux).
/// Fails: returns a text that begins with "Error " or "ERROR: ".
OX_EXPORT QString getHKEY_CURRENT_USER_SID();
/// Returns the home folder of the user whose settings the process uses (Linux: the real user).
/// Fails: returns a text that begins with "Error " or "ERROR: ".
OX_EXPORT QString getCurrentUserHomePath();
/// Returns the id of the user whose rights the process has: the SID of the process's token
/// (Windows), the effective user id (Linux).
/// Fails: returns a text that begins with "Error " or "ERROR: ".
OX_EXPORT _oxString8_evenSize<250> GetProcessUserSID();
/// Returns the home folder of the user whose rights the process has (Linux: the effective user).
/// Fails: returns a text that begins with "Error " or "ERROR: ".
OX_EXPORT QString GetProcessUserSIDProfilePath();
