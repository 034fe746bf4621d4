#pragma once

#include "shared/platform/files.h"
#include "shared/platform/new_file.h"
#include "shared/text/fixed_string8.h"

#include <functional>

// The steps of a synchronisation, which syncCopy and the tool share.

namespace ox::fs
{

/// Time between two copies of an unfinished executable.
inline constexpr int syncRetryMs = 5000;

/// A target compared with its master copy.
struct SyncTarget {
    bool exists = false;
    bool mayExist = false;  ///< also true if the target's status cannot be read
    bool isMissing = false; ///< whether neither a file nor a folder has its name
    bool hasSameSize = false;
    bool hasSameTime = false;

    bool isUpToDate() const { return hasSameSize && hasSameTime; }
};

/// Compares the status of a target with the size and the time of its master copy.
SyncTarget compareWithMaster(platform::Result<platform::FileStatus> const & target,
                             std::int64_t size, std::int64_t modified);

/// What putSyncedCopyInPlace() has done.
struct SyncPlacement {
    platform::Result<> kept;   ///< whether the previous file could be kept
    platform::Result<> placed; ///< whether the copy has the target's name
    bool wasUpToDate = false;  ///< whether another process has just updated the target
};

/// Gives the copy the target's name. With `keepsPrevious`, first renames the previous file to the
/// target's name + "_old". Changes nothing if another process has meanwhile given the target this
/// `size` and the time `modified`; with the size -1, does not test this.
SyncPlacement putSyncedCopyInPlace(platform::NewFile & copy, bool keepsPrevious, std::int64_t size,
                                   std::int64_t modified, platform::NewFile::FolderFlush flush);

/// Implements the public syncCopy. `sleep` waits the given milliseconds before a retry.
bool syncCopy(_oxString8_evenSize<500> const & source, _oxString8_evenSize<500> const & target,
              bool retryExe, _oxString8_evenSize<500> * errors, _oxString8_evenSize<500> * info,
              int pause, bool verbose, std::function<void(int)> const & sleep);

} // namespace ox::fs
