#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"

#include <QString> // declares QStringList as well

/// Sleeps for `ms` milliseconds; a signal does not end the sleep. Returns immediately for 0 and
/// less.
OX_EXPORT void oxSleep(int ms);

/// Returns the value of an environment variable, empty if it is not set. For "ProgramFiles" it
/// returns the value of "ProgramW6432", if set. A 32-bit process thus gets the 64-bit program
/// folder, too.
OX_EXPORT QString oxGetEnvironmentVariable(QString const & name);

/// Returns the value of an environment variable, cut at 250 characters. On Linux a value that
/// Latin-1 cannot express is in UTF-8, so that a path still names its file.
OX_EXPORT _oxString8_evenSize<250> oxGetEnvironmentVariable8(_oxString8_evenSize<250> const & name);

/// Sets `names` to the names of all environment variables, and `values` to their values in the same
/// order. On Windows the names of the system's entries for drives begin with "=" ("=C:"). An entry
/// without "=" after its name is omitted.
OX_EXPORT void oxGetEnvironmentVariableList(QStringList & names, QStringList & values);

/// Returns the executable's folder with a trailing separator. Falls back to the folder of `argv0`
/// if the executable's path is unknown or has at most 3 characters, or if its folder has more than
/// 250 bytes. `argv0` may be null or relative to the current folder. If the folder of `argv0` is
/// unknown or too long as well, returns the empty text: a truncated path would name another folder.
/// On Linux a path that Latin-1 cannot express is in UTF-8.
OX_EXPORT _oxString8_evenSize<250> oxApplicationPath(char * argv0);
/// Sets `path` to the executable's folder, by the rules of the other overload. Returns whether a
/// folder was found; otherwise `path` is empty.
OX_EXPORT bool oxApplicationPath(_oxString8_evenSize<250> & path, char * argv0);
