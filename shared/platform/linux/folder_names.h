#pragma once

#include "shared/platform/linux/descriptor.h"

#include <memory>
#include <string_view>

#include <dirent.h>
#include <fcntl.h>

namespace ox::platform
{

struct CloseFolder {
    void operator()(DIR * folder) const { ::closedir(folder); }
};

/// Visits the names in a folder, whose path begins at an open folder or is absolute. Visits nothing
/// when the folder cannot be read or there is no memory, for which std::filesystem's iterator would
/// end the process.
template <typename Visit>
void forEachName(int at, char const * folder, Visit const & visit)
{
    Descriptor descriptor(::openat(at, folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::unique_ptr<DIR, CloseFolder> const opened(
        descriptor.isOpen() ? ::fdopendir(descriptor.get()) : nullptr);
    if (!opened)
        return;
    descriptor.release();
    while (dirent const * const found = ::readdir(opened.get())) {
        std::string_view const name = found->d_name;
        if (name != "." && name != "..")
            visit(found->d_name);
    }
}

} // namespace ox::platform
