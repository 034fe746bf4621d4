#pragma once

#include <optional>
#include <string>

namespace ox::platform
{

/// The calling thread's last error from the system.
int lastError();

/// Keeps the calling thread's last error, at the end of its scope, over the calls in between.
class KeptError
{
  public:
    KeptError() : error_(lastError()) {}
    ~KeptError();
    KeptError(KeptError const &) = delete;
    KeptError & operator=(KeptError const &) = delete;

  private:
    int error_;
};

/// The system's message for an error, at most 500 characters, without line breaks at its end. Empty
/// when the system has no such error. Leaves the last error as it is.
std::optional<std::u16string> errorMessage(int code);

/// As errorMessage, from the messages of the system's native layer for exceptions.
std::optional<std::u16string> exceptionMessage(unsigned code);

} // namespace ox::platform
