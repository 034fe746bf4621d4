#pragma once

#include "shared/platform/file_names.h"
#include "shared/platform/result.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace ox::platform
{

/// Iterates over the entries of one folder. Links are followed. The system returns the name and the
/// type of many entries per call, on Windows also their size and time. On Linux the first call of
/// size(), of modified() or, for a link, of isFolder() makes one status query for the entry.
class FolderWalk
{
  public:
    /// Sets the folder and the wanted entries; makes no system call. The part of `path` after its
    /// last separator is the name of one entry or, if it ends with '*', a pattern:
    /// - '*' matches any number of characters.
    /// - '?' matches one character. Before a dot and at the end of a name, it may match nothing.
    /// - A dot before '*' or '?' also matches the end of a name. So "*.*" matches every name.
    ///
    /// Matching ignores case on Windows only.
    explicit FolderWalk(NativeName const & path);
    ~FolderWalk();
    FolderWalk(FolderWalk const &) = delete;
    FolderWalk & operator=(FolderWalk const &) = delete;

    /// Whether the system returns size and time of an entry together with its name.
    static bool const hasStatus;

    /// Opens the folder; without this call, the first next() opens it. Returns false when the
    /// folder cannot be read; next() then returns false, too.
    bool open();

    /// Moves to the next wanted entry; skips "." and "..". Returns false at the end, and when the
    /// folder or its remaining entries cannot be read.
    bool next();

    /// Returns the system's error code that ended the iteration; 0 if all entries were returned.
    int error() const;

    // Properties of the current entry. Call them only after next() has returned true.

    /// Name without the folder.
    std::u16string name() const;
    /// Whether the entry is a folder.
    bool isFolder();
    /// Whether the entry is a link, whatever its target is.
    bool isLink();
    /// Size in bytes; 0 for a folder and for an entry that no longer exists.
    std::int64_t size();
    /// Last write in seconds since 1970-01-01 UTC; 0 for an entry that no longer exists.
    std::int64_t modified();

  private:
    struct System;

    std::unique_ptr<System> system_;
};

/// Walks through a folder tree and deletes its entries, even while other processes change the tree.
/// Never leaves the tree: follows no link and enters no other file system, even if a link or a
/// mount point replaces a folder during the walk. A deep tree needs no additional stack and, on
/// Linux, no additional descriptors.
class FolderTree
{
  public:
    /// Entry of a folder.
    struct Entry {
        NativeName name;       ///< without the folder
        bool isFolder;         ///< false for a link to a folder
        std::int64_t size;     ///< in bytes; 0 for a folder
        std::int64_t modified; ///< last write, seconds since 1970-01-01 UTC
    };

    /// Creates an object without a current folder; call open() first.
    FolderTree();
    ~FolderTree();
    FolderTree(FolderTree const &) = delete;
    FolderTree & operator=(FolderTree const &) = delete;

    /// Opens the folder at the top of the tree, which becomes the current folder.
    /// Fails: also for a link to a folder.
    Result<> open(NativeName const & folder);

    /// Opens the current folder of another FolderTree, so that several threads can work in one
    /// tree. The other object must outlive this one.
    Result<> open(FolderTree const & other);

    /// Returns whether the current folder is the root of a drive, a share or a mounted file system.
    /// Also true when this cannot be determined.
    bool isRoot() const;

    /// Returns the entries of the current folder.
    Result<std::vector<Entry>> entries() const;

    /// Enters a subfolder of the current folder.
    /// Fails: also for a link and, on Linux, for a mounted file system.
    Result<> enter(Entry const & folder);

    /// Returns to the parent of the current folder.
    /// Fails: when the current folder has been moved elsewhere; the tree is then no longer usable.
    Result<> leave();

    /// Deletes an entry of the current folder: a file (even a read-only one), an empty folder, or a
    /// link, whose target stays. Succeeds if the entry no longer exists.
    Result<> remove(Entry const & entry);

  private:
    struct System;

    std::unique_ptr<System> system_;
};

} // namespace ox::platform
