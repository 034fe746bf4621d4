#pragma once

#include "shared/platform/native_name.h"

#include <cstdint>
#include <memory>

namespace ox::platform
{

/// Steps through the entries of one folder. Names, and which of them are folders, come as the
/// system hands them out; size and time come with them on Windows and cost one question an entry on
/// Linux, asked when they are first wanted. Links are followed.
class FolderWalk
{
  public:
    /// Behind its last separator the path says which entries of the folder are wanted: a pattern
    /// when it ends with '*', the name of one entry otherwise. In a pattern '*' stands for any run
    /// of characters and '?' for one, or for none before a dot and at the end; a dot before either
    /// also fits the end of a name, so that "*.*" is every name. Letters fit in any case on
    /// Windows, in their own case on Linux. Asks the system nothing yet.
    explicit FolderWalk(NativeName const & path);
    ~FolderWalk();
    FolderWalk(FolderWalk const &) = delete;
    FolderWalk & operator=(FolderWalk const &) = delete;

    /// Moves to the next entry that is wanted, never "." or "..". False at the end and when the
    /// folder cannot be read (further).
    bool next();

    /// The system's error that ended the walk; 0 when all that is wanted was seen.
    int error() const;

    // Of the current entry; to be called only after next() has returned true.

    std::u16string name() const;
    bool isFolder();
    /// In bytes. 0 for a folder, and for an entry that is gone again.
    std::int64_t size();
    /// Last write, seconds since 1970-01-01 UTC. 0 for an entry that is gone again.
    std::int64_t modified();

  private:
    struct System;

    std::unique_ptr<System> system_;
};

} // namespace ox::platform
