#pragma once

#include "shared/platform/file_names.h"
#include "shared/platform/result.h"

#include <cstdint>
#include <memory>
#include <vector>

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

/// Stands in one folder of a tree and deletes what is in it, while others may change the tree. It
/// never leaves the tree: it goes through no link and on to no other file system, also when a
/// folder is exchanged for one meanwhile. The depth costs no stack, and no descriptors on Linux.
class FolderTree
{
  public:
    struct Entry {
        NativeName name;
        bool isFolder;         ///< a real one: a link to a folder is none
        std::int64_t size;     ///< in bytes; 0 for a folder
        std::int64_t modified; ///< last write, seconds since 1970-01-01 UTC
    };

    FolderTree();
    ~FolderTree();
    FolderTree(FolderTree const &) = delete;
    FolderTree & operator=(FolderTree const &) = delete;

    /// Begins in a folder; a link to one fails.
    Result<> open(NativeName const & folder);

    /// Whether the current folder is the root of a drive, a share or a mounted file system. Also
    /// true when that cannot be told.
    bool isRoot() const;

    /// What is in the current folder.
    Result<std::vector<Entry>> entries() const;

    /// Goes into a real folder of the current one.
    Result<> enter(Entry const & folder);

    /// Goes back to where the current folder was entered from. Fails when it was moved elsewhere
    /// meanwhile; the tree can then no longer be used.
    Result<> leave();

    /// Deletes an entry of the current folder: a file, also a read-only one, a link and not what
    /// it points to, or an empty folder. Succeeds as well when it is gone already.
    Result<> remove(Entry const & entry);

  private:
    struct System;

    std::unique_ptr<System> system_;
};

} // namespace ox::platform
