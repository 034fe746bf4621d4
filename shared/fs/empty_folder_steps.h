#pragma once

#include "shared/fs/empty_folder.h"
#include "shared/platform/folders.h"

#include <functional>
#include <vector>

namespace ox::fs
{

/// What a KeepRule keeps of an entry, in addition to the entries that the options keep:
/// - Nothing: the entry may be deleted.
/// - Folder: a folder stays, and its content may be deleted.
/// - All: the entry stays with all its content.
enum class Keep { Nothing, Folder, All };

/// Rule that decides what to keep of the entry at `path`.
using KeepRule = std::function<Keep(QString const & path, bool isFolder)>;

/// Deletes `entries` of the tree's current folder; folders are deleted with their content. `folder`
/// is the path of the current folder, with a separator at its end. Applies `options` as
/// oxEmptyFolder does, and also the rule `keep` unless it is empty. The member `done` of the result
/// is false if `options.stop` returned true or FolderTree::leave failed.
_oxEmptyFolderResult deleteEntries(platform::FolderTree & tree, QString const & folder,
                                   std::vector<platform::FolderTree::Entry> entries,
                                   _oxEmptyFolderOptions const & options,
                                   KeepRule const & keep = {});

} // namespace ox::fs
