#pragma once

#include "oxtool/support/stop.h"
#include "shared/platform/new_file.h"

#include <QString>

namespace ox::tool
{

/// An output file that replaces the file under its name only when it is complete. It is written to
/// a temporary file in the same folder, which is removed unless `commit` renames it. It gets the
/// mode of the file that it replaces and, for root, its owner. A failure throws Failure with the
/// system's reason.
class OutputFile
{
  public:
    using Access = platform::NewFile::Access;

    /// Fails: when `path` is not a regular file, such as a folder or a device.
    explicit OutputFile(QString const & path);

    /// Fails: when the previous file is write-protected.
    void requireWritable() const;

    /// Returns a name under which the previous file can be read, also when another process renames
    /// it. Without a previous file it returns `path`.
    QString nameToRead() const;

    /// Creates the empty temporary file. `access` sets its rights if there is no previous file.
    platform::NewFile & create(Access access = Access::ByMask);

    /// Writes the whole content.
    void write(unsigned char const * bytes, qint64 size);

    /// Calls `write` with the name of the temporary file, which it writes.
    template <typename Write>
    void writeByName(Write const & write)
    {
        requireWritten(create().writeByName(
            [&](platform::NativeName const & name) { write(pathText(name)); }));
    }

    /// Whether the previous file is deleted, or kept under its name with "_old".
    enum class Previous { Deleted, Kept };

    /// Flushes the temporary file and renames it to `path`, in place of the previous file.
    void commit(Previous previous = Previous::Deleted);

    /// Returns the state of `path` before `commit`, for messages: "unchanged" with a previous file,
    /// "not created" without.
    QString targetState() const;

  private:
    static QString pathText(platform::NativeName const & name);
    /// Fails: when the result is a failure, with its reason.
    void requireWritten(platform::Result<> const & result) const;

    QString path_;
    platform::NewFile file_;
    StopGuard guard_;
};

} // namespace ox::tool
