#include "shared/platform/new_file.h"

#include "shared/platform/common/temporary_names.h"
#include "shared/platform/files.h"
#include "shared/platform/windows/file_rights.h"
#include "shared/platform/windows/handle.h"

#include <atomic>
#include <cstring>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace ox::platform
{
namespace
{

constexpr int maxTries = 100;
constexpr DWORD retryAfterMs = 10;
constexpr DWORD allRights = GENERIC_READ | GENERIC_WRITE | DELETE | READ_CONTROL | WRITE_DAC;

/// Age in seconds up to which a temporary file without an open handle counts as in use. In
/// NewFile::writeByName other code opens and writes the file. For a moment before and after this,
/// no handle is open.
constexpr std::int64_t reopenedWithin = 10;

NativeName newTemporaryName()
{
    return temporaryName(windowsSystem, ::GetCurrentProcessId(), std::random_device()());
}

/// Returns the path of an open file or folder, with links resolved and with the prefix \\?\, which
/// removes the length limit. Returns `fallback` on failure.
NativeName finalPath(HANDLE file, NativeName const & fallback)
{
    NativeName path(32768, L'\0');
    DWORD const length =
        ::GetFinalPathNameByHandleW(file, path.data(), static_cast<DWORD>(path.size()), 0);
    path.resize(length < path.size() ? length : 0);
    return path.empty() ? fallback : path;
}

NativeName fullPath(NativeName const & path)
{
    DWORD const size = ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    NativeName full(size, L'\0');
    full.resize(::GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
    return full;
}

/// Renames an open file to `path` and replaces an existing file. Retries for a second while another
/// process has the existing file open, for example to replace it, too.
Result<> renameTo(HANDLE file, NativeName const & path)
{
    std::size_t const bytes = path.size() * sizeof(wchar_t);
    std::vector<char> memory(sizeof(FILE_RENAME_INFO) + bytes);
    auto * const information = reinterpret_cast<FILE_RENAME_INFO *>(memory.data());
    information->ReplaceIfExists = TRUE;
    information->FileNameLength = static_cast<DWORD>(bytes);
    std::memcpy(information->FileName, path.data(), bytes);
    Result<> renamed;
    for (int i = 0; i < maxTries; ++i) {
        renamed = resultOf(::SetFileInformationByHandle(file, FileRenameInfo, information,
                                                        static_cast<DWORD>(memory.size())));
        if (renamed || (renamed.error().code != ERROR_ACCESS_DENIED &&
                        renamed.error().code != ERROR_SHARING_VIOLATION))
            break;
        ::Sleep(retryAfterMs);
    }
    return renamed;
}

void setAttributes(HANDLE file, DWORD attributes)
{
    FILE_BASIC_INFO basic{};
    basic.FileAttributes = attributes;
    ::SetFileInformationByHandle(file, FileBasicInfo, &basic, sizeof basic);
}

/// Returns the time of the latest change of an open file, in seconds since 1970-01-01 UTC by the
/// clock of the file server.
std::int64_t lastChange(HANDLE file)
{
    FILE_BASIC_INFO basic{};
    ::GetFileInformationByHandleEx(file, FileBasicInfo, &basic, sizeof basic);
    // Some file systems do not store all of these times, so the latest one counts.
    std::int64_t const latest = std::max(
        {basic.ChangeTime.QuadPart, basic.LastWriteTime.QuadPart, basic.CreationTime.QuadPart});
    return secondsOf({static_cast<DWORD>(latest), static_cast<DWORD>(latest >> 32)});
}

/// Removes a temporary file if no process has it open and it last changed before `changedBefore`.
void removeLeftFile(NativeName const & path, std::int64_t changedBefore)
{
    DWORD const access = DELETE | FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES;
    Handle const file(
        openFile(path, access, shareNothing, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT));
    if (!file.isOpen() || lastChange(file.get()) >= changedBefore)
        return;
    setAttributes(file.get(), FILE_ATTRIBUTE_NORMAL);
    FILE_DISPOSITION_INFO disposition{TRUE};
    ::SetFileInformationByHandle(file.get(), FileDispositionInfo, &disposition, sizeof disposition);
}

template <typename Visit>
void forEachTemporary(NativeName const & folder, Visit const & visit)
{
    WIN32_FIND_DATAW found;
    HANDLE const search = ::FindFirstFileW((folder + L".oxshared-*.tmp").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do {
        visit(found);
    } while (::FindNextFileW(search, &found));
    ::FindClose(search);
}

/// Returns whether to search a folder for temporary files now. False if the last call was for the
/// same folder in the same minute, so that a process that writes many files does not list the
/// folder for each file.
bool isSearchDue(NativeName const & folder, std::int64_t now)
{
    static std::atomic<std::size_t> last = 0;
    std::size_t const seed = std::hash<NativeName>()(folder + std::to_wstring(now / 60));
    return last.exchange(seed) != seed;
}

} // namespace

struct NewFile::System {
    OpenFile openFolder; ///< while it is open, no process can rename or delete the folder
    NativeName folder;   ///< ends with a separator
    NativeName target;
    bool hasPrevious = false;
    bool keepsRights = false;
    NativeName temporary; ///< empty if no temporary file exists
    OpenFile file;
    BY_HANDLE_FILE_INFORMATION identity = {};

    Result<> openFolderOf(NativeName const & path);
    Result<> copyPreviousRights();
    Result<> reopen();
    void removeLeftFiles() const;
};

Result<> NewFile::System::openFolderOf(NativeName const & path)
{
    NativeName const full = fullPath(path);
    std::size_t const end = full.rfind(L'\\') + 1;
    folder = full.substr(0, end);
    Handle opened(openFile(folder, FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES, shareWriting,
                           OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS));
    if (!opened.isOpen())
        return lastError();
    folder = finalPath(opened.get(), folder);
    if (!folder.ends_with(L'\\'))
        folder += L'\\';
    openFolder = toOpenFile(opened.release());
    target = folder + full.substr(end);
    return {};
}

Result<> NewFile::System::copyPreviousRights()
{
    constexpr SECURITY_INFORMATION rights = DACL_SECURITY_INFORMATION;
    DWORD size = 0;
    ::GetFileSecurityW(target.c_str(), rights, nullptr, 0, &size);
    std::vector<char> descriptor(size);
    return resultOf(::GetFileSecurityW(target.c_str(), rights, descriptor.data(), size, &size) &&
                    ::SetKernelObjectSecurity(toHandle(file), rights, descriptor.data()));
}

/// Opens the temporary file again after writeByName. Fails if the file is not the one that create()
/// has created.
Result<> NewFile::System::reopen()
{
    DWORD const flags = FILE_FLAG_OPEN_REPARSE_POINT;
    Handle attributes(openFile(temporary, FILE_READ_ATTRIBUTES | FILE_WRITE_ATTRIBUTES, shareAll,
                               OPEN_EXISTING, flags));
    BY_HANDLE_FILE_INFORMATION now;
    if (!attributes.isOpen() || !::GetFileInformationByHandle(attributes.get(), &now))
        return lastError();
    constexpr DWORD noFile = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
    if (now.nFileIndexLow != identity.nFileIndexLow ||
        now.nFileIndexHigh != identity.nFileIndexHigh || (now.dwFileAttributes & noFile) != 0)
        return Error{ERROR_FILE_INVALID};
    if (now.dwFileAttributes & FILE_ATTRIBUTE_READONLY)
        setAttributes(attributes.get(), FILE_ATTRIBUTE_NORMAL);
    Handle opened(openFile(temporary, allRights, shareAll, OPEN_EXISTING, flags));
    if (!opened.isOpen())
        return lastError();
    if (now.dwFileAttributes & FILE_ATTRIBUTE_READONLY)
        setAttributes(opened.get(), now.dwFileAttributes);
    file = toOpenFile(opened.release());
    return {};
}

void NewFile::System::removeLeftFiles() const
{
    std::int64_t const now = lastChange(toHandle(file));
    if (isSearchDue(folder, now)) {
        forEachTemporary(folder, [&](WIN32_FIND_DATAW const & found) {
            NativeName const name = found.cFileName;
            Temporary const kind = temporaryKind(name, windowsSystem);
            std::int64_t const before =
                now - (kind == Temporary::OfAnother ? leftBehindAfter : reopenedWithin);
            // A file that may be in use is not opened: while it is open here, its writer cannot
            // open it.
            if (kind != Temporary::No && secondsOf(found.ftCreationTime) < before &&
                secondsOf(found.ftLastWriteTime) < before)
                removeLeftFile(folder + name, before);
        });
    }
}

NewFile::NewFile() : system_(std::make_unique<System>()) {}

NewFile::~NewFile()
{
    KeptError const kept;
    remove();
}

Result<> NewFile::openForMissing(NativeName const & target)
{
    return system_->openFolderOf(target);
}

Result<> NewFile::open(NativeName const & target, Links links)
{
    NativeName path = target;
    DWORD attributes = ::GetFileAttributesW(path.c_str());
    bool const isLink =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (isLink && links == Links::Followed) {
        Handle const file(openFile(path, 0, shareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS));
        if (!file.isOpen())
            return lastError();
        path = finalPath(file.get(), path);
    }
    if (Result<> const opened = system_->openFolderOf(path); !opened)
        return opened;
    attributes = ::GetFileAttributesW(system_->target.c_str());
    system_->hasPrevious = attributes != INVALID_FILE_ATTRIBUTES;
    system_->keepsRights = system_->hasPrevious && links == Links::Followed;
    // ERROR_ACCESS_DENIED is also the error of CreateFileW when a folder is opened for writing.
    if (system_->hasPrevious && (attributes & FILE_ATTRIBUTE_DIRECTORY))
        return Error{ERROR_ACCESS_DENIED, "", ErrorKind::NotAFile};
    return {};
}

NativeName NewFile::previousName() const
{
    return system_->hasPrevious ? system_->target : NativeName();
}

Result<> NewFile::create(Access)
{
    DWORD error = ERROR_FILE_EXISTS;
    for (int i = 0; i < maxTries && error == ERROR_FILE_EXISTS; ++i) {
        NativeName const path = system_->folder + newTemporaryName();
        Handle created(openFile(path, allRights, shareAll, CREATE_NEW));
        error = created.isOpen() ? ERROR_SUCCESS : ::GetLastError();
        if (!created.isOpen())
            continue;
        ::GetFileInformationByHandle(created.get(), &system_->identity);
        system_->temporary = path;
        system_->file = toOpenFile(created.release());
        system_->removeLeftFiles();
        return system_->keepsRights ? system_->copyPreviousRights() : Result<>();
    }
    return Error{static_cast<int>(error)};
}

OpenFile & NewFile::file()
{
    return system_->file;
}

Result<> NewFile::copyFrom(NativeName const & source, Attributes,
                           std::optional<FileStatus> * opened)
{
    if (opened)
        *opened = statusOfFile(source);
    Result<> copied;
    Result<> const isSame = writeByName([&](NativeName const & name) {
        copied = resultOf(::CopyFileW(source.c_str(), name.c_str(), FALSE));
    });
    return copied ? isSame : copied;
}

NativeName NewFile::beginWritingByName()
{
    static_cast<void>(system_->file.close());
    return system_->temporary;
}

Result<> NewFile::endWritingByName()
{
    return system_->reopen();
}

Result<std::int64_t> NewFile::size() const
{
    Result<FileStatus> const status = fileStatus(system_->temporary);
    return status ? Result(status->size) : status.error();
}

Result<> NewFile::allowEverybodyToExecute()
{
    return platform::allowEverybodyToExecute(toHandle(system_->file));
}

Result<NewFile::Previous> NewFile::keepPrevious(char const * suffix, std::int64_t size,
                                                std::int64_t modified)
{
    NativeName const kept = system_->target + NativeName(suffix, suffix + std::strlen(suffix));
    // Only one process at a time can open the file with these access and sharing modes. The other
    // processes retry.
    DWORD const access = DELETE | FILE_READ_ATTRIBUTES;
    OpenFile previous;
    for (int i = 0; i < maxTries && !previous.isOpen(); ++i) {
        previous = toOpenFile(openFile(system_->target, access, shareWriting, OPEN_EXISTING,
                                       FILE_FLAG_OPEN_REPARSE_POINT));
        DWORD const error = previous.isOpen() ? ERROR_SUCCESS : ::GetLastError();
        if (error == ERROR_FILE_NOT_FOUND)
            return Previous::None;
        if (error == ERROR_SHARING_VIOLATION)
            ::Sleep(retryAfterMs);
        else if (error != ERROR_SUCCESS)
            return Error{static_cast<int>(error)};
    }
    if (!previous.isOpen())
        return Error{ERROR_SHARING_VIOLATION};
    FILETIME time;
    auto const previousSize = previous.size();
    if (previousSize && *previousSize == size &&
        ::GetFileTime(toHandle(previous), nullptr, nullptr, &time) && secondsOf(time) == modified)
        return Previous::IsUpToDate;
    DWORD const attributes = ::GetFileAttributesW(kept.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY))
        ::SetFileAttributesW(kept.c_str(), FILE_ATTRIBUTE_NORMAL);
    Result<> const renamed = renameTo(toHandle(previous), kept);
    return renamed ? Result(Previous::Kept) : renamed.error();
}

Result<> NewFile::putInPlace(FolderFlush)
{
    Result<> const renamed = renameTo(toHandle(system_->file), system_->target);
    if (renamed)
        system_->temporary.clear();
    return renamed;
}

void NewFile::remove()
{
    if (!system_->temporary.empty())
        static_cast<void>(deleteFile(system_->temporary));
    system_->temporary.clear();
}

} // namespace ox::platform
