#pragma once

#include "shared/fs/empty_folder_steps.h"

#include <QString>

#include <vector>

namespace ox::tool
{

/// Deletes `entries` of the tree's current folder as fs::deleteEntries does: first the files, one
/// after the other, since the system changes a folder's entries only one at a time; then the
/// subfolders on up to `jobs` threads. `folder` is the path of the current folder, with a separator
/// at its end.
///
/// `options.report` is called on the calling thread, in an order that does not depend on `jobs`.
/// `options.stop` and `keep` are called on several threads at the same time.
_oxEmptyFolderResult deleteInParallel(platform::FolderTree & tree, QString const & folder,
                                      std::vector<platform::FolderTree::Entry> entries,
                                      _oxEmptyFolderOptions const & options,
                                      fs::KeepRule const & keep, int jobs);

} // namespace ox::tool
