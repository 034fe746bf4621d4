#pragma once

#include "shared/export.h"
#include "shared/text/fixed_string8.h"

#include <QString> // declares QStringList as well

/// Sleeps for `ms` milliseconds; a signal does not end the sleep. Returns immediately for 0 and
/// less.
OX_EXPORT void oxSleep(int ms);

/// Returns the value of an environment variable, empty if it is not set. "ProgramFiles" first reads
/// "ProgramW6432", so that a 32-bit process also gets the 64-bit program folder.
OX_EXPORT QString oxGetEnvironmentVariable(QString const & name);

/// Returns the value of an environment variable, cut at 250 characters. On Linux a value beyond
/// Latin-1 is in UTF-8, so that a path still names its file.
OX_EXPORT _oxString8_evenSize<250> oxGetEnvironmentVariable8(_oxString8_evenSize<250> const & name);

/// Sets two lists to the names and values of all environment variables, with equal indices. A name
/// that begins with "=" (the system's entries for drives) keeps this character. Entries without "="
/// are omitted.
OX_EXPORT void oxGetEnvironmentVariableList(QStringList & names, QStringList & values);

/// Returns the executable's folder with a trailing separator. Falls back to the folder of `argv0`
/// if the executable's path is unknown or has at most 3 characters, or if its folder has more than
/// 250 bytes. `argv0` may be null or relative to the current folder. If that fails too, returns the
/// empty text; a path is never truncated, since it would name another folder. On Linux a path
/// beyond Latin-1 is in UTF-8.
OX_EXPORT _oxString8_evenSize<250> oxApplicationPath(char * argv0);
/// Sets `path` to the folder that the other overload returns. Returns whether a folder was found;
/// `path` is empty otherwise.
OX_EXPORT bool oxApplicationPath(_oxString8_evenSize<250> & path, char * argv0);
