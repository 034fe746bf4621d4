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

/// Returns the system's message in a text that has the form of oxLastOSError: "Permission denied"
/// in "Error 13: Permission denied.". Returns any other text of the library unchanged.
QString reasonIn(QString const & libraryText);

} // namespace ox::tool
