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
/// after a kill or a power failure. Other users who can write in the folder cannot redirect a
/// change of the new file to another file. The file is created under a temporary name in the
/// target's folder. The folder stays open, and all operations use the file's descriptor or handle.
///
/// The next NewFile in the folder removes temporary files of ended processes. docs/platforms.md
/// describes how they are recognised.
class NewFile
{
  public:
    /// Whether the file replaces a link or the link's target. With Followed, the new file takes
    /// over the rights of the file that it replaces, and on Linux its owner and group as far as the
    /// process may set them.
    enum class Links { Replaced, Followed };

    /// Creates an object without a file; call open() first.
    NewFile();
    /// Deletes the temporary file unless putInPlace() has renamed it.
    ~NewFile();
    NewFile(NewFile const &) = delete;
    NewFile & operator=(NewFile const &) = delete;

    /// Opens the folder of a target; creates nothing. The target need not exist.
    /// Fails: with NotAFile for a folder. Links::Followed also fails with NotAFile for anything
    /// that is not a regular file and, for root, for a link of another user.
    Result<> open(NativeName const & target, Links links);

    /// Returns a name under which the previous file can be read. The name stays valid when the
    /// target's name changes. Empty without a previous file.
    NativeName previousName() const;

    /// Selects who has rights on a new file if no previous file passes on its rights: only the
    /// owner, or all users as the process's umask allows.
    enum class Access { Owner, ByMask };

    /// Creates the empty file. Call it only after `open`.
    Result<> create(Access access);

    /// The file, open for writing. Call it only after `create`.
    OpenFile & file();

    /// Whether copyFrom copies times and permission bits. Omit them if both are set afterwards.
    enum class Attributes { Copied, Omitted };

    /// Copies another file into this one in the system's fastest way, with its times and, unless
    /// the mode is that of the previous file, its permission bits. Holes are kept where the system
    /// supports this. `opened`, if given, receives the source's status when the source is open.
    Result<> copyFrom(NativeName const & source, Attributes attributes = Attributes::Copied,
                      std::optional<FileStatus> * opened = nullptr);

    /// Calls `write` with a name of the file, for code that needs a name. No other user can
    /// redirect the name.
    /// Fails: when the name refers to another file afterwards.
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

    /// Result of keepPrevious.
    enum class Previous { Kept, None, IsUpToDate };

    /// Keeps the previous file under the target's name with a suffix, and replaces an older file of
    /// that name. Returns IsUpToDate without a change if the target has the given size in bytes and
    /// time in seconds since 1970 UTC: another process has just replaced it.
    Result<Previous> keepPrevious(char const * suffix, std::int64_t size, std::int64_t modified);

    /// Whether a rename also flushes the folder, so that it survives a power failure. A caller who
    /// renames many files flushes each folder once, with flushFolder().
    enum class FolderFlush { Now, ByCaller };

    /// Renames the file to the target's name. Flush the content before.
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
