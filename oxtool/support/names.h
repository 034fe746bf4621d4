#pragma once

#include "shared/platform/file_names.h"
#include "shared/text/fixed_string8.h"

#include <QString>

#include <string>

namespace ox::tool
{

/// Returns a path as a file name for the operating system.
platform::NativeName nativeName(QString const & path);

/// Returns the absolute path of a file.
/// Fails: throws Failure when the path is relative and the current folder no longer exists.
QString fullPath(QString const & path);

/// Returns a path as an 8-bit record of the library, with up to 500 bytes.
/// Fails: throws Failure when the path is longer, since a truncated path refers to another file.
_oxString8_evenSize<500> recordName(QString const & path);

/// Returns the path in an 8-bit record of the library. Reverses recordName().
QString fromRecord(_oxString8_evenSize<500> const & record);

/// Returns an argument of the command line as text. The text preserves bytes that are not UTF-8:
/// used as a path, it names the file that the user has given.
QString fromArgument(std::string const & argument);

} // namespace ox::tool
