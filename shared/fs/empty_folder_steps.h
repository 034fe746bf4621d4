#pragma once

#include "shared/fs/empty_folder.h"
#include "shared/platform/folders.h"

#include <functional>
#include <vector>

namespace ox::fs
{

/// Decision about an entry besides the options: it may be deleted; a folder stays while its content
/// may be deleted; or the entry stays with all its content.
enum class Keep { Nothing, Folder, All };

/// Decides about an entry by its path.
using KeepRule = std::function<Keep(QString const & path, bool isFolder)>;

/// Deletes entries of the tree's current folder, folders with their content. `folder` is its path
/// with a separator at its end. Applies the options as oxEmptyFolder does, and `keep` if it is not
/// empty. `done` of the result is false if `stop` returned true, or if the tree is no longer
/// usable.
_oxEmptyFolderResult deleteEntries(platform::FolderTree & tree, QString const & folder,
                                   std::vector<platform::FolderTree::Entry> entries,
                                   _oxEmptyFolderOptions const & options,
                                   KeepRule const & keep = {});

} // namespace ox::fs
