#include "shared/platform/result.h"

#include "shared/platform/windows/utf16.h"

#include <windows.h>

namespace ox::platform
{
namespace
{

constexpr std::size_t longestMessage = 500;

/// Returns the message for a code, in the default language, from the message table of the system or
/// of a module. `source` selects the table. Empty if the table does not contain the code.
std::optional<std::u16string> message(DWORD source, HMODULE module, DWORD code)
{
    DWORD const saved = ::GetLastError();
    wchar_t * text = nullptr;
    ::SetLastError(ERROR_SUCCESS);
    DWORD const length =
        ::FormatMessageW(source | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_ALLOCATE_BUFFER,
                         module, code, 0, reinterpret_cast<wchar_t *>(&text), 0, nullptr);
    bool const found = length > 0 || ::GetLastError() == ERROR_SUCCESS;
    std::wstring_view view(text, length);
    while (view.ends_with(L'\n') || view.ends_with(L'\r'))
        view.remove_suffix(1);
    auto result = found ? std::optional(toUtf16(view.substr(0, longestMessage))) : std::nullopt;
    ::LocalFree(text);
    ::SetLastError(saved);
    return result;
}

} // namespace

ErrorKind Error::kind() const
{
    if (cause != ErrorKind::Other)
        return cause;
    switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return ErrorKind::NotFound;
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS:
        return ErrorKind::AlreadyExists;
    case ERROR_SHARING_VIOLATION:
        return ErrorKind::InUse;
    case ERROR_ACCESS_DENIED:
        return ErrorKind::AccessDenied;
    case ERROR_DIRECTORY:
    case ERROR_NOT_SUPPORTED:
        return ErrorKind::NotAFile;
    default:
        return ErrorKind::Other;
    }
}

Error lastError(char const * step)
{
    return {static_cast<int>(::GetLastError()), step};
}

void setLastError(Error error)
{
    ::SetLastError(static_cast<DWORD>(error.code));
}

std::optional<std::u16string> errorMessage(int code)
{
    return message(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, static_cast<DWORD>(code));
}

std::optional<std::u16string> exceptionMessage(unsigned code)
{
    return message(FORMAT_MESSAGE_FROM_HMODULE, ::GetModuleHandleW(L"ntdll.dll"), code);
}

} // namespace ox::platform
