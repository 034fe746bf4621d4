#include "shared/platform/lock_file.h"

#include "shared/platform/windows/handle.h"

extern "C" NTSYSAPI LONG NTAPI RtlGetLastNtStatus();

// docs/lock_files.md explains the protocol. CREATE_NEW decides which process gets the name. The
// holder keeps the file open without sharing, so the system refuses to rename, delete or replace
// the file.

namespace ox::platform
{
namespace
{

/// Returns the last error of a call that opens a name. If the file is already deleted, but another
/// process still has it open, the error counts as InUse.
Error openError(char const * step)
{
    constexpr LONG deletePending = static_cast<LONG>(0xC0000056);
    Error const error = lastError(step);
    bool const isDeletePending =
        error.code == ERROR_ACCESS_DENIED && ::RtlGetLastNtStatus() == deletePending;
    return isDeletePending ? Error{ERROR_SHARING_VIOLATION, step} : error;
}

/// Marks an open file for deletion when it is closed.
Result<> deleteOnClose(HANDLE file)
{
    FILE_DISPOSITION_INFO disposition{TRUE};
    return resultOf(::SetFileInformationByHandle(file, FileDispositionInfo, &disposition,
                                                 sizeof disposition) != FALSE,
                    "SetFileInformationByHandle");
}

/// Returns whether both records describe the same file. The creation time distinguishes a file from
/// a later file of the same name.
bool isSameFile(BY_HANDLE_FILE_INFORMATION const & a, BY_HANDLE_FILE_INFORMATION const & b)
{
    return a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
           a.nFileIndexHigh == b.nFileIndexHigh && a.nFileIndexLow == b.nFileIndexLow &&
           ::CompareFileTime(&a.ftCreationTime, &b.ftCreationTime) == 0;
}

/// Renames a file and replaces an existing file of that name, even a read-only one.
Result<> rename(NativeName const & name, NativeName const & newName)
{
    ::SetFileAttributesW(newName.c_str(), FILE_ATTRIBUTE_NORMAL);
    return resultOf(::MoveFileExW(name.c_str(), newName.c_str(), MOVEFILE_REPLACE_EXISTING) !=
                        FALSE,
                    "MoveFileExW");
}

/// Makes one try of removeClosed: opens the file and deletes it. If the system refuses to delete
/// it, renames it to `leftover`. Succeeds if the name is missing or refers to another file.
Result<> tryToRemove(NativeName const & name, NativeName const & leftover,
                     BY_HANDLE_FILE_INFORMATION const & own)
{
    Handle const file(
        openFile(name, DELETE | FILE_READ_ATTRIBUTES, FILE_SHARE_DELETE, OPEN_EXISTING));
    if (!file.isOpen())
        return resultOf(::GetLastError() == ERROR_FILE_NOT_FOUND, "CreateFileW");
    BY_HANDLE_FILE_INFORMATION found;
    if (!::GetFileInformationByHandle(file.get(), &found))
        return lastError("GetFileInformationByHandle");
    if (!isSameFile(own, found) || deleteOnClose(file.get()))
        return {};
    return rename(name, leftover);
}

/// Removes a closed lock file. Called after the system has refused to delete the file through the
/// handle that created it, and this handle has been closed. Each try opens the file again. The open
/// call fails while another process holds a lock of this name. While the file is open, no other
/// file can get the name.
Result<> removeClosed(NativeName const & name, NativeName const & leftover,
                      BY_HANDLE_FILE_INFORMATION const & own)
{
    constexpr int tries = 11; // 1023 ms of pauses
    for (int tried = 0;; ++tried) {
        Result<> const removed = tryToRemove(name, leftover, own);
        if (removed || tried + 1 == tries)
            return removed;
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

Result<> LockFile::take(NativeName const & name)
{
    name_ = name; // before the file exists, since a lack of memory throws
    Handle file(openFile(name, GENERIC_READ | GENERIC_WRITE | DELETE, shareNothing, CREATE_NEW));
    if (!file.isOpen())
        return openError("CreateFileW");
    handle_ = reinterpret_cast<std::intptr_t>(file.release());
    return {};
}

void LockFile::write(std::string_view content)
{
    // A failed write is ignored, since the process holds the lock even if the file is empty.
    DWORD written;
    ::WriteFile(toHandle(handle_), content.data(), static_cast<DWORD>(content.size()), &written,
                nullptr);
}

Result<> LockFile::release(NativeName const & leftover)
{
    if (!isHeld())
        return {};
    Handle file(toHandle(std::exchange(handle_, none)));
    // The file is deleted through its handle, since the name may belong to another lock once the
    // file is closed.
    if (deleteOnClose(file.get()))
        return {};
    BY_HANDLE_FILE_INFORMATION own;
    if (!::GetFileInformationByHandle(file.get(), &own))
        return lastError("GetFileInformationByHandle");
    file.close();
    return removeClosed(name_, leftover, own);
}

bool lockFileExists(NativeName const & name)
{
    return ::GetFileAttributesW(name.c_str()) != INVALID_FILE_ATTRIBUTES;
}

Result<> removeLeftLockFile(NativeName const & name, std::int64_t writtenBefore)
{
    // Opening the file without sharing fails while a process holds the lock. While the file is open
    // here, no process can take the lock.
    Handle const file(openFile(name, DELETE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES,
                               shareNothing, OPEN_EXISTING));
    if (!file.isOpen()) {
        Error const error = openError("CreateFileW");
        return error.code == ERROR_FILE_NOT_FOUND ? Result<>() : error;
    }
    FILETIME modified;
    if (!::GetFileTime(file.get(), nullptr, nullptr, &modified))
        return lastError("GetFileTime");
    if (secondsOf(modified) >= writtenBefore)
        return Error{ERROR_SHARING_VIOLATION, "GetFileTime"};
    FILE_BASIC_INFO basic{};
    basic.FileAttributes = FILE_ATTRIBUTE_NORMAL; // a read-only file cannot be deleted
    ::SetFileInformationByHandle(file.get(), FileBasicInfo, &basic, sizeof basic);
    return deleteOnClose(file.get());
}

LockFileView viewLockFile(NativeName const & name)
{
    LockFileView view;
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(name.c_str(), GetFileExInfoStandard, &data)) {
        if (Error const error = openError("GetFileAttributesExW"); !isTaken(error)) {
            // A missing file is not an error. A missing folder (ERROR_PATH_NOT_FOUND) is one.
            view.error = error.code == ERROR_FILE_NOT_FOUND ? 0 : error.code;
            return view;
        }
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
