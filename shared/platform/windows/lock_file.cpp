#include "shared/platform/lock_file.h"

#include "shared/platform/windows/handle.h"

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

/// Marks an open file for deletion at its closing.
bool deleteOnClose(HANDLE file)
{
    FILE_DISPOSITION_INFO disposition{TRUE};
    return ::SetFileInformationByHandle(file, FileDispositionInfo, &disposition,
                                        sizeof disposition) != FALSE;
}

/// What tells a file from another one that has its name later.
bool isSameFile(BY_HANDLE_FILE_INFORMATION const & a, BY_HANDLE_FILE_INFORMATION const & b)
{
    return a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
           a.nFileIndexHigh == b.nFileIndexHigh && a.nFileIndexLow == b.nFileIndexLow &&
           ::CompareFileTime(&a.ftCreationTime, &b.ftCreationTime) == 0;
}

/// Renames a file, and replaces what has the new name, also a read-only file.
bool rename(NativeName const & name, NativeName const & newName)
{
    ::SetFileAttributesW(newName.c_str(), FILE_ATTRIBUTE_NORMAL);
    return ::MoveFileExW(name.c_str(), newName.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
}

/// Removes a lock file that this process has closed, because the system refuses to delete it
/// through the handle that created it. Opening it again fails while anybody holds a lock under the
/// name, and while it is open the name cannot pass to another file.
bool removeClosed(NativeName const & name, NativeName const & leftover,
                  BY_HANDLE_FILE_INFORMATION const & own)
{
    constexpr int tries = 11; // 1023 ms of pauses
    for (int tried = 0;; ++tried) {
        Handle const file(
            openFile(name, DELETE | FILE_READ_ATTRIBUTES, FILE_SHARE_DELETE, OPEN_EXISTING));
        if (!file.isOpen() && ::GetLastError() == ERROR_FILE_NOT_FOUND)
            return true;
        BY_HANDLE_FILE_INFORMATION found;
        if (file.isOpen() && ::GetFileInformationByHandle(file.get(), &found) &&
            (!isSameFile(own, found) || deleteOnClose(file.get()) || rename(name, leftover)))
            return true;
        if (tried + 1 == tries)
            return false;
        ::Sleep(1u << tried);
    }
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
    Handle file(openFile(name, GENERIC_READ | GENERIC_WRITE | DELETE, shareNothing, CREATE_NEW));
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

bool LockFile::release(NativeName const & leftover)
{
    if (!isHeld())
        return true;
    Handle file(toHandle(std::exchange(handle_, none)));
    // By handle: the name can mean another's lock as soon as the file is closed.
    if (deleteOnClose(file.get()))
        return true;
    BY_HANDLE_FILE_INFORMATION own;
    if (!::GetFileInformationByHandle(file.get(), &own))
        return false;
    file.close();
    return removeClosed(name_, leftover, own);
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
    if (!file.isOpen() || !::GetFileTime(file.get(), nullptr, nullptr, &modified) ||
        secondsOf(modified) >= writtenBefore)
        return;
    FILE_BASIC_INFO basic{};
    basic.FileAttributes = FILE_ATTRIBUTE_NORMAL; // a read-only file cannot be deleted
    ::SetFileInformationByHandle(file.get(), FileBasicInfo, &basic, sizeof basic);
    deleteOnClose(file.get());
}

LockFileView viewLockFile(NativeName const & name)
{
    LockFileView view;
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(name.c_str(), GetFileExInfoStandard, &data) &&
        !isTaken(::GetLastError())) {
        // A missing folder has an error of its own.
        if (::GetLastError() != ERROR_FILE_NOT_FOUND)
            view.error = static_cast<int>(::GetLastError());
        return view;
    }
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
