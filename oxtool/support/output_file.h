#pragma once

#include "oxtool/support/stop.h"
#include "shared/platform/new_file.h"

#include <QString>

namespace ox::tool
{

/// A file that takes its name only when it is complete. It is written under a temporary name in the
/// same folder, and until `commit` every way out removes it. A file that it replaces passes its
/// mode on to it, and as root its owner. Every failure has the system's message.
class OutputFile
{
  public:
    using Access = platform::NewFile::Access;

    /// Fails when `path` is something other than a file.
    explicit OutputFile(QString const & path);

    /// Fails when the file that is to be replaced is write-protected.
    void refuseWriteProtected() const;

    /// The name under which the file that is to be replaced can be read, whatever happens to the
    /// path meanwhile. `path` itself when there is none.
    QString nameToRead() const;

    /// Creates the empty file, which a file without a previous one is open to as `access` tells.
    platform::NewFile & create(Access access = Access::ByMask);

    /// Writes the whole content.
    void write(unsigned char const * bytes, qint64 size);

    /// Runs a function that writes the file under a name that it is given.
    template <typename Write>
    void writeByName(Write const & write)
    {
        requireWritten(create().writeByName(
            [&](platform::NativeName const & name) { write(pathText(name)); }));
    }

    /// Gives the file its own name, in place of what had it.
    void commit();

    /// For the user, what there is under the file's name as long as nothing is committed.
    QString whatIsLeft() const;

  private:
    static QString pathText(platform::NativeName const & name);
    /// Fails with the system's message when a result is a failure.
    void requireWritten(platform::Result<> const & result) const;

    QString path_;
    platform::NewFile file_;
    StopGuard guard_;
};

} // namespace ox::tool
