#pragma once

#include "shared/platform/result.h"

#include <QString>

namespace ox::tool
{

/// Returns the system's message for an error, without its number: "Permission denied".
QString reasonOf(platform::Error error);

/// Returns the system's message for an error code.
QString reasonOf(int code);

/// Returns the system's message for the error of the library call that has just failed.
QString lastReason();

/// Returns a text of the library. A text in the form of oxLastOSError, "Error 13: Permission
/// denied.", becomes the system's message alone.
QString reasonIn(QString const & libraryText);

} // namespace ox::tool
