#pragma once

#include <optional>
#include <string>

namespace ox::platform
{

/// The calling thread's last error from the system.
int lastError();

/// The system's message for an error, at most 500 characters, without line breaks at its end. Empty
/// when the system has no such error. Leaves the last error as it is.
std::optional<std::u16string> errorMessage(int code);

/// As errorMessage, from the messages of the system's native layer for exceptions.
std::optional<std::u16string> exceptionMessage(unsigned code);

} // namespace ox::platform
