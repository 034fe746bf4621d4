#include "shared/platform/lock_file.h"

#include "shared/platform/handle_windows.h"

extern "C" NTSYSAPI LONG NTAPI RtlGetLastNtStatus();

// The protocol, which docs/lock_files.md explains: creating the file decides who gets the name, and
// the holder keeps it open without sharing, so that the system refuses to everybody else whatever
// would take the name away.

namespace ox::platform
{
namespace
{

/// Whether the last error says that somebody else has the name. It can be on its way out, deleted
/// while some process still looks at it.
bool isTaken(DWORD error)
{
    constexpr LONG deletePending = static_cast<LONG>(0xC0000056);
    return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS ||
           error == ERROR_SHARING_VIOLATION ||
           (error == ERROR_ACCESS_DENIED && ::RtlGetLastNtStatus() == deletePending);
}

/// Marks an open file for deletion at its closing, also a read-only one.
void deleteOnClose(HANDLE file)
{
    FILE_BASIC_INFO basic{};
    basic.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    ::SetFileInformationByHandle(file, FileBasicInfo, &basic, sizeof basic);
    FILE_DISPOSITION_INFO disposition{TRUE};
    ::SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof disposition);
}

HANDLE toHandle(std::intptr_t handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

} // namespace

LockFile::~LockFile()
{
    if (isHeld())
        ::CloseHandle(toHandle(handle_));
}

LockFile::Attempt LockFile::take(NativeName const & name)
{
    Handle file(openFile(name, GENERIC_READ | GENERIC_WRITE, shareNothing, CREATE_NEW));
    if (!file.isOpen())
        return isTaken(::GetLastError()) ? Attempt::InUse : Attempt::Failed;
    handle_ = reinterpret_cast<std::intptr_t>(file.release());
    name_ = name;
    return Attempt::Taken;
}

void LockFile::write(std::string_view content)
{
    // Nothing depends on the content, and the lock is held even on a full disk.
    DWORD written;
    ::WriteFile(toHandle(handle_), content.data(), static_cast<DWORD>(content.size()), &written,
                nullptr);
}

void LockFile::release(NativeName const & leftover)
{
    if (!isHeld())
        return;
    ::CloseHandle(toHandle(std::exchange(handle_, none)));
    // A lock that somebody has taken in the meantime is open without sharing, so both calls fail.
    if (!::DeleteFileW(name_.c_str()))
        ::MoveFileExW(name_.c_str(), leftover.c_str(), MOVEFILE_REPLACE_EXISTING);
}

bool lockFileExists(NativeName const & name)
{
    return ::GetFileAttributesW(name.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void removeLeftLockFile(NativeName const & name, std::int64_t writtenBefore)
{
    // Unshared: fails while somebody holds the lock, and nobody can take it before it is removed.
    Handle const file(openFile(name, DELETE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES,
                               shareNothing, OPEN_EXISTING));
    FILETIME modified;
    if (file.isOpen() && ::GetFileTime(file.get(), nullptr, nullptr, &modified) &&
        secondsOf(modified) < writtenBefore)
        deleteOnClose(file.get());
}

LockFileView viewLockFile(NativeName const & name)
{
    LockFileView view;
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!::GetFileAttributesExW(name.c_str(), GetFileExInfoStandard, &data))
        return view;
    view.exists = true;
    view.modified = secondsOf(data.ftLastWriteTime);
    Handle const file(openFile(name, GENERIC_READ, shareAll, OPEN_EXISTING));
    if (!file.isOpen()) {
        view.holder = ::GetLastError() == ERROR_SHARING_VIOLATION ? LockFileView::Holder::Process
                                                                  : LockFileView::Holder::Unknown;
        return view;
    }
    char text[4096];
    DWORD size = 0;
    if (::ReadFile(file.get(), text, sizeof text, &size, nullptr))
        view.content.assign(text, size);
    return view;
}

} // namespace ox::platform
