#pragma once

#include "shared/platform/clock.h"
#include "shared/platform/open_file.h"

#include <utility>

#include <windows.h>

namespace ox::platform
{

/// An open handle, which is closed at the end of the scope. The destructor does not change the last
/// error.
class Handle
{
  public:
    explicit Handle(HANDLE handle) : handle_(handle) {}
    ~Handle()
    {
        DWORD const error = ::GetLastError();
        close();
        ::SetLastError(error);
    }
    Handle(Handle const &) = delete;
    Handle & operator=(Handle const &) = delete;

    HANDLE get() const { return handle_; }
    bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

    /// Returns the handle; the caller must close it.
    HANDLE release() { return std::exchange(handle_, INVALID_HANDLE_VALUE); }
    /// Closes the handle. Returns whether this succeeded.
    bool close() { return !isOpen() || ::CloseHandle(release()) != FALSE; }

  private:
    HANDLE handle_;
};

constexpr DWORD shareNothing = 0;
constexpr DWORD shareReading = FILE_SHARE_READ;
constexpr DWORD shareWriting = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// Opens a file or device. Child processes do not inherit the handle.
inline HANDLE openFile(NativeName const & name, DWORD access, DWORD sharing, DWORD disposition,
                       DWORD flags = FILE_ATTRIBUTE_NORMAL)
{
    return ::CreateFileW(name.c_str(), access, sharing, nullptr, disposition, flags, nullptr);
}

/// Returns the handle of an open file.
inline HANDLE toHandle(OpenFile const & file)
{
    return reinterpret_cast<HANDLE>(file.handle());
}

/// Creates an OpenFile that takes ownership of a handle.
inline OpenFile toOpenFile(HANDLE handle)
{
    return OpenFile(reinterpret_cast<std::intptr_t>(handle));
}

/// Converts a file time (100-ns ticks since 1601-01-01 UTC) to seconds since 1970-01-01 UTC.
inline std::int64_t secondsOf(FILETIME time)
{
    auto const ticks =
        static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
    return (ticks - secondsFrom1601To1970 * ticksPerSecond) / ticksPerSecond;
}

/// Converts seconds since 1970-01-01 UTC to a file time.
inline FILETIME fileTimeOf(std::int64_t seconds)
{
    auto const ticks = static_cast<std::uint64_t>(seconds + secondsFrom1601To1970) * ticksPerSecond;
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

} // namespace ox::platform
