#pragma once

#include "oxtool/support/stop.h"
#include "shared/platform/new_file.h"

#include <QString>

namespace ox::tool
{

/// Output file that replaces the previous file of the same name only when the new content is
/// complete. The content goes to a temporary file in the same folder, which the destructor deletes
/// unless commit() has renamed it. The new file gets the mode of the previous file. If the process
/// runs as root, the new file also gets the owner of the previous file.
/// Fails: the functions throw Failure with the system's reason.
class OutputFile
{
  public:
    using Access = platform::NewFile::Access;

    /// Fails: when `path` is a folder, a device or another name that is not a regular file.
    explicit OutputFile(QString const & path);

    /// Fails: when the previous file is write-protected.
    void requireWritable() const;

    /// Returns a name under which the previous file can be read. The name stays valid if another
    /// process renames the file. Without a previous file it returns `path`.
    QString nameToRead() const;

    /// Creates the empty temporary file. Without a previous file, `access` determines its rights.
    platform::NewFile & create(Access access = Access::ByMask);

    /// Writes the whole content.
    void write(unsigned char const * bytes, qint64 size);

    /// Creates the temporary file and calls `write` with its name. `write` writes the whole
    /// content.
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
    bool targetExists() const;
    static QString pathText(platform::NativeName const & name);
    /// Throws Failure with the reason if `result` is a failure.
    void requireWritten(platform::Result<> const & result) const;

    QString path_;
    platform::NewFile file_;
    StopGuard guard_;
};

} // namespace ox::tool
