#include "shared/platform/folder_walk.h"

#include "shared/platform/windows/found_files.h"
#include "shared/platform/windows/handle.h"

namespace ox::platform
{

struct FolderWalk::System : FoundFiles {
    using FoundFiles::FoundFiles;
};

FolderWalk::FolderWalk(NativeName const & path) : system_(std::make_unique<System>(path)) {}

FolderWalk::~FolderWalk() = default;

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

std::int64_t FolderWalk::size()
{
    return sizeOf(system_->record());
}

std::int64_t FolderWalk::modified()
{
    return secondsOf(system_->record().ftLastWriteTime);
}

} // namespace ox::platform
