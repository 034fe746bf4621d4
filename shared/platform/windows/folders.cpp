#include "shared/platform/folders.h"

#include "shared/platform/windows/found_files.h"
#include "shared/platform/windows/handle.h"

#include <algorithm>

namespace ox::platform
{
namespace
{

bool isLink(DWORD attributes)
{
    return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

/// Opens a folder; fails for a link. While the folder is open, no process can rename, delete or
/// replace it.
HANDLE openFolder(NativeName const & name)
{
    Handle folder(openFile(name, FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES, shareReading,
                           OPEN_EXISTING,
                           FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT));
    BY_HANDLE_FILE_INFORMATION information;
    if (!folder.isOpen() || !::GetFileInformationByHandle(folder.get(), &information))
        return INVALID_HANDLE_VALUE;
    // Even if the open object is a folder, the attributes of its name may show a link. So both
    // attributes are checked.
    DWORD const attributes = information.dwFileAttributes | ::GetFileAttributesW(name.c_str());
    if ((information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && !isLink(attributes))
        return folder.release();
    ::SetLastError(ERROR_DIRECTORY);
    return INVALID_HANDLE_VALUE;
}

/// Returns the full path of an open folder with the prefix \\?\, which removes the length limit.
/// Empty on failure.
NativeName fullName(HANDLE folder)
{
    NativeName name(32768, L'\0');
    name.resize(::GetFinalPathNameByHandleW(folder, name.data(), static_cast<DWORD>(name.size()),
                                            FILE_NAME_NORMALIZED | VOLUME_NAME_DOS));
    return name;
}

} // namespace

struct FolderWalk::System : FoundFiles {
    using FoundFiles::FoundFiles;
};

bool const FolderWalk::hasStatus = true;

FolderWalk::FolderWalk(NativeName const & path) : system_(std::make_unique<System>(path)) {}

FolderWalk::~FolderWalk() = default;

bool FolderWalk::open()
{
    return system_->open();
}

bool FolderWalk::next()
{
    return system_->next();
}

int FolderWalk::error() const
{
    return static_cast<int>(system_->error());
}

std::u16string FolderWalk::name() const
{
    return nameText(system_->record().cFileName);
}

bool FolderWalk::isFolder()
{
    return platform::isFolder(system_->record());
}

bool FolderWalk::isLink()
{
    // A reparse point that does not stand for another name, such as a deduplicated or an offline
    // file, is not a link.
    return platform::isLink(system_->record().dwFileAttributes) &&
           IsReparseTagNameSurrogate(system_->record().dwReserved0);
}

std::int64_t FolderWalk::size()
{
    return sizeOf(system_->record());
}

std::int64_t FolderWalk::modified()
{
    return secondsOf(system_->record().ftLastWriteTime);
}

struct FolderTree::System {
    std::vector<std::unique_ptr<Handle>> open;
    NativeName path; ///< path of the current folder, without a separator at its end

    NativeName nameOf(Entry const & entry) const { return path + ownSeparator_ + entry.name; }

    static constexpr wchar_t ownSeparator_ = L'\\';
};

FolderTree::FolderTree() : system_(std::make_unique<System>()) {}

FolderTree::~FolderTree()
{
    // Subfolders are closed before their parents.
    while (!system_->open.empty())
        system_->open.pop_back();
}

Result<> FolderTree::open(NativeName const & folder)
{
    NativeName name = folder;
    while (name.size() > 3 && (name.ends_with(L'\\') || name.ends_with(L'/')))
        name.pop_back();
    // Without a separator, "C:" would refer to the current folder of the drive.
    if (name.ends_with(L':'))
        name += L'\\';
    auto opened = std::make_unique<Handle>(openFolder(name));
    if (!opened->isOpen())
        return lastError();
    system_->path = fullName(opened->get());
    if (system_->path.empty())
        return lastError();
    if (system_->path.ends_with(L'\\'))
        system_->path.pop_back();
    system_->open.push_back(std::move(opened));
    return {};
}

Result<> FolderTree::open(FolderTree const & other)
{
    auto opened = std::make_unique<Handle>(openFolder(other.system_->path));
    if (!opened->isOpen())
        return lastError();
    system_->path = other.system_->path;
    system_->open.push_back(std::move(opened));
    return {};
}

bool FolderTree::isRoot() const
{
    // The path of a root is \\?\C: or \\?\UNC\server\share.
    NativeName const & path = system_->path;
    auto const separators = std::count(path.begin(), path.end(), L'\\');
    return separators <= (path.starts_with(LR"(\\?\UNC\)") ? 5 : 3);
}

Result<std::vector<FolderTree::Entry>> FolderTree::entries() const
{
    FoundFiles found(system_->path + L"\\*");
    std::vector<Entry> entries;
    while (found.next()) {
        WIN32_FIND_DATAW const & record = found.record();
        bool const isRealFolder = isFolder(record) && !isLink(record.dwFileAttributes);
        entries.push_back(
            {record.cFileName, isRealFolder, sizeOf(record), secondsOf(record.ftLastWriteTime)});
    }
    if (found.error() != ERROR_SUCCESS)
        return Error{static_cast<int>(found.error())};
    return entries;
}

Result<> FolderTree::enter(Entry const & folder)
{
    NativeName const name = system_->nameOf(folder);
    auto opened = std::make_unique<Handle>(openFolder(name));
    if (!opened->isOpen())
        return lastError();
    system_->open.push_back(std::move(opened));
    system_->path = name;
    return {};
}

Result<> FolderTree::leave()
{
    system_->open.pop_back();
    system_->path.resize(system_->path.rfind(L'\\'));
    return {};
}

Result<> FolderTree::remove(Entry const & entry)
{
    NativeName const name = system_->nameOf(entry);
    DWORD const attributes = ::GetFileAttributesW(name.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0)
        ::SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
    bool const isFolderOrLinkToOne =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    bool const isRemoved = isFolderOrLinkToOne ? ::RemoveDirectoryW(name.c_str()) != FALSE
                                               : ::DeleteFileW(name.c_str()) != FALSE;
    return resultOf(isRemoved || ::GetLastError() == ERROR_FILE_NOT_FOUND);
}

} // namespace ox::platform
