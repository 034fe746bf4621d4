#include "shared/platform/files.h"

#include "shared/platform/windows/handle.h"

#include <cstddef>

#include <windows.h>

namespace ox::platform
{
namespace
{

/// Returns the drive or share of a path, including the separator after the drive or share. Empty if
/// the path has neither a drive nor a share.
NativeName rootOf(NativeName path)
{
    bool const isUnlimitedShare = path.starts_with(LR"(\\?\UNC\)");
    if (isUnlimitedShare)
        path.replace(0, 8, LR"(\\)");
    else if (path.starts_with(LR"(\\?\)"))
        path.erase(0, 4);
    if (path.size() > 1 && path[1] == L':')
        return path.substr(0, 3);
    std::size_t const share = path.find(L'\\', 3);
    std::size_t const end = share == path.npos ? path.npos : path.find(L'\\', share + 1);
    return end == path.npos ? NativeName() : path.substr(0, end + 1);
}

/// Returns whether two names refer to one file that has a single hard link: for example, one name
/// is a symbolic link. Deleting the file by one name then also deletes it for the other name.
bool isSameFileWithOneLink(NativeName const & one, NativeName const & other)
{
    BY_HANDLE_FILE_INFORMATION files[2];
    NativeName const * const names[] = {&one, &other};
    for (int i : {0, 1}) {
        Handle const file(openFile(*names[i], 0, shareAll, OPEN_EXISTING));
        if (!file.isOpen() || !::GetFileInformationByHandle(file.get(), &files[i]))
            return false;
    }
    // Some servers return the file index 0 for all files, so 0 does not identify a file.
    return (files[0].nFileIndexHigh | files[0].nFileIndexLow) != 0 &&
           files[0].dwVolumeSerialNumber == files[1].dwVolumeSerialNumber &&
           files[0].nFileIndexHigh == files[1].nFileIndexHigh &&
           files[0].nFileIndexLow == files[1].nFileIndexLow && files[0].nNumberOfLinks == 1;
}

/// An absolute path with the prefix \\?\, which removes the length limit. Allocates no memory.
class UnlimitedName
{
  public:
    explicit UnlimitedName(wchar_t const * path)
    {
        bool const isShare = path[0] == L'\\' && path[1] == L'\\' && path[2] != L'?';
        bool const isDrive = path[0] != L'\0' && path[1] == L':';
        add(isShare ? LR"(\\?\UNC)" : isDrive ? LR"(\\?\)" : L"");
        add(isShare ? path + 1 : path);
        text_[length_] = L'\0';
    }

    wchar_t const * c_str() const { return text_; }

  private:
    void add(wchar_t const * text)
    {
        while (*text && length_ < longest)
            text_[length_++] = *text++;
    }

    static constexpr std::size_t longest = 1000;

    wchar_t text_[longest + 1];
    std::size_t length_ = 0;
};

} // namespace

Result<FileStatus> fileStatus(NativeName const & name)
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!::GetFileAttributesExW(name.c_str(), GetFileExInfoStandard, &data))
        return lastError();
    if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        return FileStatus{true, 0, secondsOf(data.ftLastWriteTime)};
    // Size and time are read through a handle, so the call fails if the file cannot be opened. The
    // access mask is 0, since the content is not read.
    Handle const file(openFile(name, 0, shareNothing, OPEN_EXISTING));
    LARGE_INTEGER size;
    if (!file.isOpen() || !::GetFileSizeEx(file.get(), &size))
        return lastError();
    FILETIME modified;
    bool const hasTime = ::GetFileTime(file.get(), nullptr, nullptr, &modified);
    return FileStatus{false, size.QuadPart, hasTime ? secondsOf(modified) : 0};
}

NameKind kindOf(NativeName const & name)
{
    DWORD const attributes = ::GetFileAttributesW(name.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return NameKind::None;
    return attributes & FILE_ATTRIBUTE_DIRECTORY ? NameKind::Folder : NameKind::File;
}

Result<> deleteFile(NativeName const & name)
{
    ::SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
    Result<> const deleted = resultOf(::DeleteFileW(name.c_str()));
    bool const isGone = deleted || deleted.error().kind() == ErrorKind::NotFound;
    return isGone && !name.empty() ? Result<>() : deleted;
}

Result<> moveFile(NativeName const & from, NativeName const & to)
{
    return resultOf(::MoveFileW(from.c_str(), to.c_str()));
}

Result<> moveOver(NativeName const & from, NativeName const & to)
{
    // moveFile() succeeds if both names refer to one file and differ only in letter case.
    Result<> const moved = moveFile(from, to);
    if (moved || moved.error().kind() != ErrorKind::AlreadyExists)
        return moved;
    if (isSameFileWithOneLink(from, to))
        return Error{ERROR_ALREADY_EXISTS};
    Result<> const deleted = deleteFile(to);
    return deleted ? moveFile(from, to) : deleted;
}

Result<> createFolder(NativeName const & name)
{
    return resultOf(::CreateDirectoryW(name.c_str(), nullptr));
}

Result<> flushFolder(NativeName const &)
{
    return {};
}

Result<> deleteFolder(NativeName const & name)
{
    return resultOf(::RemoveDirectoryW(name.c_str()));
}

Result<> setFileTimes(NativeName const & name, std::optional<std::int64_t> seconds)
{
    Handle const file(
        openFile(name, FILE_WRITE_ATTRIBUTES, shareWriting, OPEN_EXISTING, FILE_FLAG_NO_BUFFERING));
    FILETIME time;
    if (seconds)
        time = fileTimeOf(*seconds);
    else
        ::GetSystemTimeAsFileTime(&time);
    return resultOf(file.isOpen() && ::SetFileTime(file.get(), &time, &time, &time));
}

bool const hasExecutableBits = false;

Result<> makeExecutable(NativeName const &)
{
    return {};
}

Result<std::uint64_t> freeBytes(NativeName const & path)
{
    NativeName const root = rootOf(path);
    ULARGE_INTEGER available;
    if (root.empty())
        return Error{ERROR_BAD_PATHNAME};
    if (!::GetDiskFreeSpaceExW(root.c_str(), &available, nullptr, nullptr))
        return lastError();
    return std::uint64_t{available.QuadPart};
}

Result<> renameToNewName(NativeChar const * from, NativeChar const * to)
{
    UnlimitedName const name(to);
    return resultOf(::MoveFileW(from, name.c_str()));
}

} // namespace ox::platform
