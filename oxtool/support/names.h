#pragma once

#include "shared/platform/file_names.h"
#include "shared/platform/result.h"
#include "shared/text/fixed_string8.h"

#include <QString>

#include <string>

namespace ox::tool
{

/// A file name for the operating system.
platform::NativeName nativeName(QString const & path);

/// The full path of a file. Fails when the path is relative and the current folder no longer
/// exists.
QString fullPath(QString const & path);

/// A file name for the library's records. Fails when the record cannot hold it, where a cut name
/// would be another file's.
_oxString8_evenSize<500> recordName(QString const & path);

/// The text of a library's record, which may hold such names.
QString fromRecord(_oxString8_evenSize<500> const & record);

/// The system's message for an error: "Error 13: Permission denied."
QString systemMessage(platform::Error error);

/// The system's message for the error of the library call that has just failed.
QString lastSystemMessage();

/// A text of the command line. As a file name it opens the file that the user named, also where its
/// bytes are no UTF-8.
QString fromArgument(std::string const & argument);

} // namespace ox::tool
