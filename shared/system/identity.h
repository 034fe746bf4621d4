#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"

#include <QString>

/// The kinds of the farm's applications. The values are stored in the farm's records.
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

/// The farm's operating systems. The values are stored in the farm's records.
enum class _oxOS : int { All, Windows, Linux, Mac };

/// The enumerator's name; "unknown" for any other value.
OX_EXPORT _oxString<25> ox_AppType_asString(ox_AppType const & t);

/// "All/Unknown", "Windows", "Linux" or "Mac"; empty for any other value.
OX_EXPORT QString OS2String(_oxOS const & os);

/// What streams print: the name as above, or the number of any other value.
OX_EXPORT QString oxPrintedText(ox_AppType const & type);
OX_EXPORT QString oxPrintedText(_oxOS const & os);

/// "all", "win", "lx" or "mac"; empty for any other value. With `withBits` the width of this build,
/// "32" or "64", follows, whatever the system.
OX_EXPORT QString OS2String_short(_oxOS const & os, bool const & withBits);

/// The short name of the system that the library runs on: "lx64".
OX_EXPORT QString thisOS2String_short(bool const & withBits);

/// The short name of the running system with the width of this build: "win32", "lx64".
OX_EXPORT QString osBitStr();

/// Whether the process has all rights on this machine: it belongs to the administrators (Windows),
/// or its effective user is root (Linux).
OX_EXPORT bool oxIsSystemAdmin();

/// The user's home folder, and those in which programs keep what belongs to this machine and what
/// goes with the user from machine to machine. On Linux these are $HOME, $XDG_DATA_HOME and
/// $XDG_CONFIG_HOME or what stands for them when they are not set. Without a separator at the end.
/// Empty when the system does not tell.
OX_EXPORT QString getWinFolderProfile();
OX_EXPORT QString getWinFolderLocalAppData();
OX_EXPORT QString getWinFolderAppData();

// What the system's list of users has, whatever the environment says. A failure gives a text that
// begins with "Error " or "ERROR: " in place of the answer.

/// The user whose settings the process has: the SID under which HKEY_CURRENT_USER is loaded
/// (Windows), the number of the real user (Linux).
OX_EXPORT QString getHKEY_CURRENT_USER_SID();
/// The home folder of that user.
OX_EXPORT QString getCurrentUserHomePath();
/// The user whose rights the process has: the SID of its token (Windows), the number of the
/// effective user (Linux).
OX_EXPORT _oxString8_evenSize<250> GetProcessUserSID();
/// The home folder of that user.
OX_EXPORT QString GetProcessUserSIDProfilePath();
