#include "shared/platform/result.h"

#include "shared/platform/file_names.h"

#include <cerrno>
#include <cstring>

namespace ox::platform
{

ErrorKind Error::kind() const
{
    if (cause != ErrorKind::Other)
        return cause;
    switch (code) {
    case ENOENT:
    case ENOTDIR:
        return ErrorKind::NotFound;
    case EEXIST:
        return ErrorKind::AlreadyExists;
    case EBUSY:
    case EWOULDBLOCK:
        return ErrorKind::InUse;
    case EACCES:
    case EPERM:
        return ErrorKind::AccessDenied;
    case EISDIR:
    case ENOTSUP:
    case ENXIO:
        return ErrorKind::NotAFile;
    default:
        return ErrorKind::Other;
    }
}

Error lastError(char const * step)
{
    return {errno, step};
}

void setLastError(Error error)
{
    errno = error.code;
}

std::optional<std::u16string> errorMessage(int code)
{
    int const saved = errno;
    char buffer[500];
    std::string_view const message = ::strerror_r(code, buffer, sizeof buffer);
    errno = saved;
    // In every language only the message for an unknown error code ends with the code.
    if (message.ends_with(std::to_string(code)))
        return std::nullopt;
    return systemText(message);
}

std::optional<std::u16string> exceptionMessage(unsigned)
{
    return std::nullopt; // on Linux exceptions are signals, which have no message table
}

} // namespace ox::platform
