#pragma once

#include "shared/platform/open_file.h"

#include <cstdint>
#include <memory>

namespace ox::platform
{

/// A file that takes the place of another only when it is complete.
///
/// The promise: under the target's name stands the previous file or the whole new one, also after
/// a kill or a power failure, and no other user who can write in the folder can turn a change of
/// the new file into a change of another. The file is created under a temporary name in the
/// target's folder, which stays open, and everything is done through its descriptor or handle.
///
/// A temporary file that outlives its process is removed by the next NewFile in the folder
/// (docs/platforms.md describes how it is told from one in use).
class NewFile
{
  public:
    /// Whether the file takes the place of a link or of what the link leads to. With Followed, an
    /// existing file's mode, and as root its owner, pass to the new one.
    enum class Links { Replaced, Followed };

    NewFile();
    /// Removes the file unless it is in its place.
    ~NewFile();
    NewFile(NewFile const &) = delete;
    NewFile & operator=(NewFile const &) = delete;

    /// Opens the folder of a target, which need not exist. Creates nothing. Fails (NotAFile) for a
    /// folder, and with Links::Followed for everything that is no regular file. As root, fails for
    /// a link of another user that is to be followed.
    Result<> open(NativeName const & target, Links links);

    /// The name under which the previous file can be read, whatever happens to the target's name.
    /// Empty when there is none.
    NativeName previousName() const;

    /// Who may open a file that has no previous one whose mode it gets.
    enum class Access { Owner, ByMask };

    /// Creates the empty file. Only after `open`.
    Result<> create(Access access);

    /// The file, open for writing. Only after `create`.
    OpenFile & file();

    /// Makes the file a copy of another in the fastest way that the system has, with its times and,
    /// unless the mode is the previous file's, its permission bits. A source that has holes keeps
    /// them where the system can.
    Result<> copyFrom(NativeName const & source);

    /// Runs a function that writes the file under a name that it is given, and that no other user
    /// can redirect. Fails when the file is another one afterwards.
    template <typename Write>
    Result<> writeByName(Write const & write)
    {
        NativeName const name = beginWritingByName();
        write(name);
        return endWritingByName();
    }

    /// Size in bytes so far. May be called on another thread while the file is written.
    Result<std::int64_t> size() const;

    /// Adds the rights to read, write and execute the file for every user.
    Result<> allowEverybodyToExecute();

    enum class Previous { Kept, None, IsUpToDate };

    /// Gives the previous file a second name, the target's with a suffix, in place of what has it.
    /// IsUpToDate, without a change, when the target has the given size and time, since another
    /// process has just replaced it.
    Result<Previous> keepPrevious(char const * suffix, std::int64_t size, std::int64_t modified);

    /// Gives the file the target's name. The content should be flushed before.
    Result<> putInPlace();

    /// Removes the file unless it is in its place.
    void remove();

  private:
    NativeName beginWritingByName();
    Result<> endWritingByName();

    struct System;
    std::unique_ptr<System> system_;
};

/// Removes the temporary files of this process beside a target, for a process that ends at once.
void removeNewFilesOfThisProcess(NativeName const & target);

} // namespace ox::platform
