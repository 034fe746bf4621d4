#pragma once

#include "oxtool/support/failure.h"
#include "shared/platform/folders.h"

#include <QString>

#include <functional>

namespace ox::tool
{

/// Calls `visit` for each file of a folder and, with `recursive`, of its subfolders. Links to
/// folders are not followed, so that the walk ends and stays in the folder. The files come in the
/// system's order. `entry` is valid during the call of `visit`; a query of the entry's size or time
/// may cost a system call.
/// Fails: calls `fail` for a folder that cannot be read, and continues with the next one.
void walkFiles(
    QString const & folder, bool recursive,
    std::function<void(QString const & path, platform::FolderWalk & entry)> const & visit,
    std::function<void(Failure const &)> const & fail);

} // namespace ox::tool
