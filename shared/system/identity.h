#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string.h"

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

/// "all", "win", "lx" or "mac"; empty for any other value. With `withBits` the width of this build,
/// "32" or "64", follows, whatever the system.
OX_EXPORT QString OS2String_short(_oxOS const & os, bool const & withBits);

/// The short name of the system that the library runs on: "lx64".
OX_EXPORT QString thisOS2String_short(bool const & withBits);
