#pragma once

#include "shared/platform/native_name.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace ox::platform
{

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

    // The calls below fail with the system's last error set.

    /// Begins in a folder; a link to one fails.
    bool open(NativeName const & folder);

    /// Whether the current folder is the root of a drive, a share or a mounted file system. Also
    /// true when that cannot be told.
    bool isRoot() const;

    /// What is in the current folder.
    std::optional<std::vector<Entry>> entries() const;

    /// Goes into a real folder of the current one.
    bool enter(Entry const & folder);

    /// Goes back to where the current folder was entered from. Fails when it was moved elsewhere
    /// meanwhile; the tree can then no longer be used.
    bool leave();

    /// Deletes an entry of the current folder: a file, also a read-only one, a link and not what
    /// it points to, or an empty folder. True as well when it is gone already.
    bool remove(Entry const & entry);

  private:
    struct System;

    std::unique_ptr<System> system_;
};

} // namespace ox::platform
