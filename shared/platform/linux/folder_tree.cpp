#include "shared/platform/folder_tree.h"

#include "shared/platform/linux/descriptor.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace ox::platform
{
namespace
{

struct CloseFolder {
    void operator()(DIR * folder) const { ::closedir(folder); }
};

/// What tells a folder from every other.
struct Identity {
    dev_t device;
    ino_t number;

    bool operator==(Identity const &) const = default;
};

std::optional<Identity> identityOf(int folder, char const * name)
{
    struct stat status;
    if (::fstatat(folder, name, &status, 0) != 0)
        return std::nullopt;
    return Identity{status.st_dev, status.st_ino};
}

int openFolder(int at, char const * name)
{
    return ::openat(at, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/// Also sees a folder of the same file system that is mounted in a second place, where the system
/// tells.
bool isMountPoint(int folder)
{
    struct statx status;
    return ::statx(folder, "", AT_EMPTY_PATH, STATX_TYPE, &status) == 0 &&
           (status.stx_attributes & status.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0;
}

} // namespace

struct FolderTree::System {
    std::unique_ptr<Descriptor> current;
    std::vector<Identity> above;

    int folder() const { return current->get(); }
    bool moveTo(std::unique_ptr<Descriptor> & other)
    {
        current = std::move(other);
        return true;
    }
};

FolderTree::FolderTree() : system_(std::make_unique<System>()) {}

FolderTree::~FolderTree() = default;

bool FolderTree::open(NativeName const & folder)
{
    // With a separator at its end a link would be followed.
    NativeName name = folder;
    while (name.size() > 1 && name.ends_with(ownSeparator))
        name.pop_back();
    auto opened = std::make_unique<Descriptor>(openFolder(AT_FDCWD, name.c_str()));
    return opened->isOpen() && system_->moveTo(opened);
}

bool FolderTree::isRoot() const
{
    int const folder = system_->folder();
    auto const here = identityOf(folder, ".");
    auto const above = identityOf(folder, "..");
    return !here || !above || here == above || here->device != above->device ||
           isMountPoint(folder);
}

std::optional<std::vector<FolderTree::Entry>> FolderTree::entries() const
{
    Descriptor again(openFolder(system_->folder(), "."));
    std::unique_ptr<DIR, CloseFolder> const folder(again.isOpen() ? ::fdopendir(again.get())
                                                                  : nullptr);
    if (!folder)
        return std::nullopt;
    again.release();
    std::vector<Entry> entries;
    errno = 0;
    while (dirent const * const found = ::readdir(folder.get())) {
        NativeName const name = found->d_name;
        if (name == "." || name == "..")
            continue;
        struct stat status = {};
        // What is gone again meanwhile is left to those who delete it.
        if (::fstatat(system_->folder(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
            status.st_mode = found->d_type == DT_DIR ? S_IFDIR : S_IFREG;
        bool const isFolder = S_ISDIR(status.st_mode);
        entries.push_back({name, isFolder, isFolder ? 0 : status.st_size, status.st_mtim.tv_sec});
        errno = 0;
    }
    return errno == 0 ? std::optional(std::move(entries)) : std::nullopt;
}

bool FolderTree::enter(Entry const & folder)
{
    auto const here = identityOf(system_->folder(), ".");
    auto opened = std::make_unique<Descriptor>(openFolder(system_->folder(), folder.name.c_str()));
    if (!here || !opened->isOpen())
        return false;
    // Where this cannot be asked there would be no way back.
    auto const above = identityOf(opened->get(), "..");
    auto const there = identityOf(opened->get(), ".");
    if (!above || !there)
        return false;
    if (above != here || there->device != here->device || isMountPoint(opened->get())) {
        errno = EBUSY;
        return false;
    }
    system_->above.push_back(*here);
    return system_->moveTo(opened);
}

bool FolderTree::leave()
{
    auto opened = std::make_unique<Descriptor>(openFolder(system_->folder(), ".."));
    auto const there = opened->isOpen() ? identityOf(opened->get(), ".") : std::nullopt;
    if (!there)
        return false;
    if (there != system_->above.back()) {
        errno = ESTALE;
        return false;
    }
    system_->above.pop_back();
    return system_->moveTo(opened);
}

bool FolderTree::remove(Entry const & entry)
{
    int const kind = entry.isFolder ? AT_REMOVEDIR : 0;
    return ::unlinkat(system_->folder(), entry.name.c_str(), kind) == 0 || errno == ENOENT;
}

} // namespace ox::platform
