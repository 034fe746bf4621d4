#pragma once

#include "oxtool/support/failure.h"
#include "shared/platform/folders.h"

#include <QString>

#include <functional>

namespace ox::tool
{

/// Calls `visit` for each file of a folder, and of its subfolders if `recursive`. Links to folders
/// are not followed, so that the walk ends and stays in the folder. `entry` is valid during the
/// call of `visit`; its size and time may cost a system call. The files come in the order in which
/// the system lists them.
/// Fails: calls `fail` for a folder that cannot be read, and continues with the next one.
void walkFiles(
    QString const & folder, bool recursive,
    std::function<void(QString const & path, platform::FolderWalk & entry)> const & visit,
    std::function<void(Failure const &)> const & fail);

} // namespace ox::tool
