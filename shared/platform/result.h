#pragma once

#include <optional>
#include <string>
#include <utility>

namespace ox::platform
{

/// What an error means on every system.
enum class ErrorKind { Other, NotFound, AlreadyExists, InUse, AccessDenied, NotAFile };

/// A failed call of the operating system.
struct Error {
    int code = 0;           ///< the system's number
    char const * step = ""; ///< the system call or step that failed, where a facade names it
    ErrorKind cause = ErrorKind::Other; ///< where the facade knows more than the number tells

    ErrorKind kind() const;
};

/// The error that the calling thread's last system call left.
Error lastError(char const * step = "");

/// Makes an error the calling thread's last one, which oxLastOSError reports.
void setLastError(Error error);

/// Keeps the calling thread's last error, at the end of its scope, over the calls in between.
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

/// The value of a call that can fail, or its error.
template <typename Value = void>
class [[nodiscard]] Result
{
  public:
    Result(Value value) : value_(std::move(value)) {}
    Result(Error error) : error_(error) {}

    explicit operator bool() const { return value_.has_value(); }
    Value & operator*() & { return *value_; }
    Value const & operator*() const & { return *value_; }
    Value && operator*() && { return *std::move(value_); }
    Value * operator->() { return &*value_; }
    Value const * operator->() const { return &*value_; }
    Value value_or(Value other) const { return value_.value_or(std::move(other)); }

    /// Only after a failure.
    Error error() const { return error_; }

  private:
    std::optional<Value> value_;
    Error error_;
};

/// Success, or the error of a call without a value.
template <>
class [[nodiscard]] Result<void>
{
  public:
    Result() = default;
    Result(Error error) : error_(error), hasFailed_(true) {}

    explicit operator bool() const { return !hasFailed_; }

    /// Only after a failure.
    Error error() const { return error_; }

  private:
    Error error_;
    bool hasFailed_ = false;
};

/// Success, or the error that the calling thread's last system call left.
inline Result<> resultOf(bool succeeded, char const * step = "")
{
    return succeeded ? Result<>() : Result<>(lastError(step));
}

/// The end of a public function: whether the call succeeded; its error becomes the calling thread's
/// last one.
template <typename Value>
bool reportToThread(Result<Value> const & result)
{
    if (!result)
        setLastError(result.error());
    return static_cast<bool>(result);
}

/// The system's message for an error code, at most 500 characters, without line breaks at its end.
/// Empty when the system has no such error. Leaves the last error unchanged.
std::optional<std::u16string> errorMessage(int code);

/// As errorMessage, from the messages of the system's native layer for exceptions.
std::optional<std::u16string> exceptionMessage(unsigned code);

} // namespace ox::platform
