#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"

#include <QString> // declares QStringList as well

/// Sleeps this many milliseconds, also across signals. Does nothing for 0 and less.
OX_EXPORT void oxSleep(int ms);

/// The value of an environment variable, empty when it is not set. "ProgramFiles" gives the 64-bit
/// program folder also to a 32-bit process: "ProgramW6432" is asked first.
OX_EXPORT QString oxGetEnvironmentVariable(QString const & name);

/// As oxGetEnvironmentVariable, cut at 250 characters. A value beyond Latin-1 is given as UTF-8
/// bytes on Linux, so that a path still names its file.
OX_EXPORT _oxString8_evenSize<250> oxGetEnvironmentVariable8(_oxString8_evenSize<250> const & name);

/// Replaces both lists by the names and the values of all environment variables, index for index. A
/// name that begins with "=" (the system's entries for the drives) keeps it; entries without a
/// value are left out.
OX_EXPORT void oxGetEnvironmentVariableList(QStringList & names, QStringList & values);

/// The folder of the running executable with a separator at its end. Where the system does not
/// tell, or the path has 3 characters or fewer or does not fit, it is that of `argv0` (which may be
/// null), taken from the current folder when relative. Empty when there is no folder or it does not
/// fit: a cut path would be another folder's. Beyond Latin-1 the path is UTF-8 bytes on Linux.
OX_EXPORT _oxString8_evenSize<250> oxApplicationPath(char * argv0);
/// The same; returns whether a folder was found.
OX_EXPORT bool oxApplicationPath(_oxString8_evenSize<250> & path, char * argv0);
