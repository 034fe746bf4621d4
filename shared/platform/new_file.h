#pragma once

#include "shared/platform/open_file.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace ox::platform
{

/// A new file that replaces another file only when it is complete.
///
/// At every moment the target's name refers to the previous file or to the complete new one, even
/// after a kill or a power failure. The file is created under a temporary name in the target's
/// folder. The folder stays open, and all operations use the file's descriptor or handle. So other
/// users with write access to the folder cannot redirect an operation to another file by a link.
///
/// The next NewFile in the folder removes temporary files of ended processes. docs/platforms.md
/// describes how they are recognised.
class NewFile
{
  public:
    /// Whether the new file replaces a link or the link's target. With Followed, the new file takes
    /// over the rights of the previous file. On Linux it also takes over the owner and the group of
    /// the previous file if the process may set them.
    enum class Links { Replaced, Followed };

    /// Creates an object without a file; call open() first.
    NewFile();
    /// Deletes the temporary file unless putInPlace() has renamed it.
    ~NewFile();
    NewFile(NewFile const &) = delete;
    NewFile & operator=(NewFile const &) = delete;

    /// Opens the folder of a target; creates nothing. The target need not exist.
    /// Fails: with NotAFile if the target is a folder. With Links::Followed it also fails:
    /// - with NotAFile if the target is anything else than a regular file;
    /// - with AccessDenied if the target is a link of another user, and the caller is root.
    Result<> open(NativeName const & target, Links links);

    /// Opens the folder of a target like open() with Links::Replaced, without a query for the
    /// target: the caller has just found that the target does not exist. If another process creates
    /// a file under this name in the meantime, putInPlace() replaces the file.
    Result<> openForMissing(NativeName const & target);

    /// Returns a name under which the previous file can be read; empty if no previous file exists.
    /// On Linux the name stays valid even after the target is renamed or replaced.
    NativeName previousName() const;

    /// Selects who has rights on a new file that does not take over the rights of a previous file:
    /// only the owner, or all users as the process's umask allows.
    enum class Access { Owner, ByMask };

    /// Creates the empty file. Call it only after `open`.
    Result<> create(Access access);

    /// Returns the file, open for writing. Call it only after `create`.
    OpenFile & file();

    /// Whether copyFrom copies times and permission bits. Use Omitted if the caller sets both
    /// afterwards.
    enum class Attributes { Copied, Omitted };

    /// Copies the file `source` into this one by the system's fastest method. Also copies the
    /// times. Copies the permission bits unless this file has taken over the rights of a previous
    /// file. Keeps holes where the system supports this. `opened`, if given, receives the source's
    /// status as soon as the source is open.
    Result<> copyFrom(NativeName const & source, Attributes attributes = Attributes::Copied,
                      std::optional<FileStatus> * opened = nullptr);

    /// Calls `write` with a path of the file, for code that opens the file by name. No other user
    /// can redirect the path.
    /// Fails: when the path refers to another file after the call of `write`.
    template <typename Write>
    Result<> writeByName(Write const & write)
    {
        NativeName const name = beginWritingByName();
        write(name);
        return endWritingByName();
    }

    /// Returns the current size in bytes.
    /// Threads: may be called while another thread writes the file.
    Result<std::int64_t> size() const;

    /// Grants all users the rights to read, write and execute the file.
    Result<> allowEverybodyToExecute();

    /// Result of keepPrevious: the previous file is kept as a backup, does not exist, or is already
    /// the new file.
    enum class Previous { Kept, None, IsUpToDate };

    /// Keeps the previous file as a backup: its name becomes the target's name plus `suffix`, and
    /// an older backup is replaced. Changes nothing and returns IsUpToDate if the target already
    /// has this `size` (in bytes) and `modified` time (seconds since 1970-01-01 UTC), because
    /// another process has just replaced it.
    Result<Previous> keepPrevious(char const * suffix, std::int64_t size, std::int64_t modified);

    /// Whether a rename also flushes the folder, so that the new name survives a power failure. A
    /// caller that renames many files flushes each folder once, with flushFolder().
    enum class FolderFlush { Now, ByCaller };

    /// Renames the file to the target's name. Call file().flush() first.
    Result<> putInPlace(FolderFlush flush = FolderFlush::Now);

    /// Deletes the temporary file unless putInPlace() has renamed it.
    void remove();

  private:
    NativeName beginWritingByName();
    Result<> endWritingByName();

    struct System;
    std::unique_ptr<System> system_;
};

} // namespace ox::platform
