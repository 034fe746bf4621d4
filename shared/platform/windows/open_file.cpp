#include "shared/platform/open_file.h"

#include "shared/platform/files.h"
#include "shared/platform/windows/handle.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>

#include <fcntl.h>
#include <io.h>

namespace ox::platform
{
namespace
{

constexpr std::size_t largestTransfer = std::size_t{4} << 20;

/// Returns `file` if it is open. Refuses pipes, since their other end may never respond.
Result<OpenFile> opened(OpenFile file)
{
    if (!file.isOpen())
        return lastError();
    if (::GetFileType(toHandle(file)) == FILE_TYPE_PIPE)
        return Error{ERROR_NOT_SUPPORTED};
    return file;
}

DWORD writingRights(Content content)
{
    return content == Content::Emptied ? GENERIC_WRITE : FILE_APPEND_DATA | SYNCHRONIZE;
}

DWORD creationOf(Content content)
{
    return content == Content::Emptied ? CREATE_ALWAYS : OPEN_ALWAYS;
}

} // namespace

OpenFile::~OpenFile()
{
    KeptError const kept;
    if (isOpen())
        ::CloseHandle(reinterpret_cast<HANDLE>(release()));
}

Result<std::size_t> OpenFile::read(char * data, std::size_t size)
{
    std::size_t length = 0;
    DWORD count = 1;
    while (length < size && count > 0) {
        auto const piece = static_cast<DWORD>(std::min(size - length, largestTransfer));
        count = 0;
        if (!::ReadFile(toHandle(*this), data + length, piece, &count, nullptr) &&
            ::GetLastError() != ERROR_BROKEN_PIPE)
            return lastError();
        length += count;
    }
    return length;
}

Result<> OpenFile::write(char const * data, std::size_t size, std::size_t * written)
{
    std::size_t length = 0;
    Result<> result;
    while (length < size && result) {
        auto const piece = static_cast<DWORD>(std::min(size - length, largestTransfer));
        DWORD count = 0;
        if (!::WriteFile(toHandle(*this), data + length, piece, &count, nullptr))
            result = lastError();
        else if (count == 0)
            result = Error{ERROR_DISK_FULL};
        length += count;
    }
    if (written)
        *written = length;
    return result;
}

Result<> OpenFile::seek(std::int64_t position)
{
    LARGE_INTEGER distance;
    distance.QuadPart = position;
    return resultOf(::SetFilePointerEx(toHandle(*this), distance, nullptr, FILE_BEGIN));
}

Result<std::int64_t> OpenFile::size() const
{
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(toHandle(*this), &size))
        return lastError();
    return std::int64_t{size.QuadPart};
}

Result<> OpenFile::setTimes(std::int64_t seconds)
{
    FILETIME const time = fileTimeOf(seconds);
    return resultOf(::SetFileTime(toHandle(*this), &time, &time, &time));
}

Result<> OpenFile::flush()
{
    return resultOf(::FlushFileBuffers(toHandle(*this)));
}

Result<> OpenFile::close()
{
    return resultOf(!isOpen() || ::CloseHandle(reinterpret_cast<HANDLE>(release())));
}

Result<OpenFile> openForReading(NativeName const & name, Writers writers, FileStatus * status)
{
    DWORD const sharing = writers == Writers::Allowed ? shareWriting : shareReading;
    Result<OpenFile> file =
        opened(toOpenFile(openFile(name, GENERIC_READ, sharing, OPEN_EXISTING)));
    if (!file || !status)
        return file;
    FILETIME modified;
    bool const hasTime = ::GetFileTime(toHandle(*file), nullptr, nullptr, &modified);
    *status = {false, file->size().value_or(0), hasTime ? secondsOf(modified) : 0};
    return file;
}

Result<OpenFile> openForWriting(NativeName const & name, Content content, Writers writers)
{
    DWORD const sharing = writers == Writers::Allowed ? shareWriting : shareNothing;
    return opened(toOpenFile(openFile(name, writingRights(content), sharing, creationOf(content))));
}

Result<OpenFile> openInPlace(NativeName const & name, Content content)
{
    Result<OpenFile> file = openForWriting(name, content, Writers::Allowed);
    if (file && ::GetFileType(toHandle(*file)) == FILE_TYPE_CHAR)
        return Error{ERROR_NOT_SUPPORTED};
    return file;
}

Result<OpenFile> createFile(NativeName const & name, IfExists ifExists)
{
    auto const create = [&name] {
        return toOpenFile(openFile(name, GENERIC_WRITE, shareNothing, CREATE_NEW));
    };
    OpenFile file = create();
    bool const isTaken = !file.isOpen() && ::GetLastError() == ERROR_FILE_EXISTS;
    if (isTaken && ifExists == IfExists::Replace) {
        if (Result<> const deleted = deleteFile(name); !deleted)
            return deleted.error();
        file = create();
    }
    if (!file.isOpen())
        return lastError();
    return file;
}

std::string textForFile(std::string_view lines)
{
    std::string text;
    for (char const c : lines) {
        if (c == '\n')
            text += '\r';
        text += c;
    }
    return text;
}

Result<gzFile_s *> openGzip(OpenFile file, char const * mode)
{
    int const access = mode[0] == 'r' ? _O_RDONLY : _O_WRONLY;
    int const descriptor = ::_open_osfhandle(file.handle(), access | _O_BINARY | _O_NOINHERIT);
    if (descriptor < 0)
        return Error{ERROR_TOO_MANY_OPEN_FILES};
    file.release();
    gzFile const gzip = ::gzdopen(descriptor, mode);
    if (!gzip) {
        ::_close(descriptor);
        return Error{ERROR_NOT_ENOUGH_MEMORY};
    }
    return gzip;
}

} // namespace ox::platform
