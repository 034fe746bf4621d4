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

/// Returns a path as a record of the library.
/// Fails: throws Failure when the path exceeds the record, since a truncated path refers to another
/// file.
_oxString8_evenSize<500> recordName(QString const & path);

/// Returns the text of a library's record, in which file names are encoded as by recordName.
QString fromRecord(_oxString8_evenSize<500> const & record);

/// Returns an argument of the command line as text. Bytes that are not UTF-8 are kept: as a path
/// the text opens the file that the user has given.
QString fromArgument(std::string const & argument);

} // namespace ox::tool
