#pragma once

#include <optional>
#include <string>
#include <utility>

namespace ox::platform
{

/// Meaning of an error, the same on every system.
enum class ErrorKind { Other, NotFound, AlreadyExists, InUse, AccessDenied, NotAFile };

/// Error of a system call.
struct Error {
    int code = 0;                       ///< the system's error code
    char const * step = "";             ///< failed system call or step, if the facade names it
    ErrorKind cause = ErrorKind::Other; ///< set if the code alone does not determine the kind

    /// Meaning of the error: `cause` if it is set, otherwise the meaning of `code`.
    ErrorKind kind() const;
};

/// Returns the error of the calling thread's last system call.
Error lastError(char const * step = "");

/// Sets the calling thread's last error, which oxLastOSError reports.
void setLastError(Error error);

/// Restores the calling thread's last error at the end of the scope.
class KeptError
{
  public:
    KeptError() : error_(lastError()) {}
    ~KeptError() { setLastError(error_); }
    KeptError(KeptError const &) = delete;
    KeptError & operator=(KeptError const &) = delete;

  private:
    Error error_;
};

/// Result of a call that can fail: its value or its error.
template <typename Value = void>
class [[nodiscard]] Result
{
  public:
    /// Creates the result of a successful call.
    Result(Value value) : value_(std::move(value)) {}
    /// Creates the result of a failed call.
    Result(Error error) : error_(error) {}

    /// Whether the call succeeded.
    explicit operator bool() const { return value_.has_value(); }
    /// The value; use it only after success.
    Value & operator*() & { return *value_; }
    Value const & operator*() const & { return *value_; }
    Value && operator*() && { return *std::move(value_); }
    /// Accesses the members of the value; call it only after success.
    Value * operator->() { return &*value_; }
    Value const * operator->() const { return &*value_; }
    /// The value, or `other` after a failure.
    Value value_or(Value other) const { return value_.value_or(std::move(other)); }

    /// The error; call it only after a failure.
    Error error() const { return error_; }

  private:
    std::optional<Value> value_;
    Error error_;
};

/// Result of a call that returns no value but can fail: success or the error.
template <>
class [[nodiscard]] Result<void>
{
  public:
    /// Creates the result of a successful call.
    Result() = default;
    /// Creates the result of a failed call.
    Result(Error error) : error_(error), hasFailed_(true) {}

    /// Whether the call succeeded.
    explicit operator bool() const { return !hasFailed_; }

    /// The error; call it only after a failure.
    Error error() const { return error_; }

  private:
    Error error_;
    bool hasFailed_ = false;
};

/// Returns success, or the error of the calling thread's last system call.
inline Result<> resultOf(bool succeeded, char const * step = "")
{
    return succeeded ? Result<>() : Result<>(lastError(step));
}

/// Returns whether a call succeeded. After a failure, sets the calling thread's last error. Public
/// functions call it at their end.
template <typename Value>
bool reportToThread(Result<Value> const & result)
{
    if (!result)
        setLastError(result.error());
    return static_cast<bool>(result);
}

/// Returns the system's message for an error code, at most 500 characters, without line breaks at
/// its end. Empty if the system does not know the code. Does not change the last error.
std::optional<std::u16string> errorMessage(int code);

/// Returns the system's message for an exception code; always empty on Linux.
std::optional<std::u16string> exceptionMessage(unsigned code);

} // namespace ox::platform
