#pragma once

#include "shared/export.h"
#include "shared/platform/types.h"
#include "shared/time/time_value.h"

#include <QString>

#include <cstddef>
#include <memory>
#include <vector>

namespace ox::platform
{
class FolderWalk;
}

/// Lists the entries of one folder, without those of its subfolders:
///
///     oxDirListing listing;
///     listing.addEndsWithFilter(QStringLiteral(".exr"));
///     listing.init(folder, false, true, true, false);
///     while (listing.nextFile())
///         use(listing.dirFileName(), listing.fileTime());
///
/// A listing reads the folder entry by entry, or all entries into memory first. Names need no round
/// trip per entry. Size and time together need at most one round trip per entry, made when one of
/// them is first used.
///
/// Links are followed. A link to a folder is a folder. A link without a target is a file with the
/// time of the link. On Linux each byte of a name that is not UTF-8 becomes the lone surrogate
/// U+DC00 + byte; the library's functions find the file under that name.
class OX_EXPORT oxDirListing
{
  public:
    /// Creates a listing without entries.
    oxDirListing();
    /// Closes the listing.
    ~oxDirListing();
    oxDirListing(oxDirListing const &) = delete;
    oxDirListing & operator=(oxDirListing const &) = delete;

    /// Starts a listing, which replaces the previous one; the filters stay. `path` may have the
    /// separators of any system. `path` is one of these:
    /// - a folder, with or without a separator at its end;
    /// - a file, which is then the only entry;
    /// - a pattern that ends with `*`: `C:\out\shot_*`. `*` matches any characters. `?` matches one
    ///   character, or none before a dot or the end. `.*` also matches names without a dot. Case is
    ///   ignored on Windows and matters on Linux.
    ///
    /// With `includeDirs` folders are entries, too, except "." and "..". With `readIntoMemory` all
    /// entries that pass the filters are read at once. With `sortByName` entries in memory are
    /// sorted by the UTF-16 units of their names, so "B" precedes "a". `reserved` has no effect.
    /// Fails: an empty path gives no entries. An unreadable folder gives no entries either, and
    /// error() returns the reason.
    void init(QString path, bool const & includeDirs, bool const & readIntoMemory,
              bool const & sortByName, bool const & reserved);

    /// Adds an ending of file names, such as ".exr", to the filter. With a filter a file is listed
    /// only if its name ends with one of the endings, ignoring case. Folders are not filtered. The
    /// filter applies to the entries after the current one; for a listing in memory add it before
    /// init().
    void addEndsWithFilter(QString const & ending);

    /// Moves to the next entry; the first call after init() moves to the first entry. Returns false
    /// at the end.
    bool nextFile();

    // The current entry. Before the first entry and after the last one the name is empty, size and
    // time are 0, and isDir() is false.
    // Compatibility: a listing in memory stays on its last entry, even after nextFile() has
    // returned false, since callers read the last name after the loop.

    /// Name without the folder.
    QString fileName() const;
    /// Sets `name` to the name without the folder.
    void fileName(QString & name) const;
    /// Path of the entry: the folder followed by the name.
    QString dirFileName() const;
    /// Size in bytes; 0 for a folder.
    __int64 fileSize() const;
    /// Sets `size` to the size in bytes; 0 for a folder.
    void fileSize(__int64 & size) const;
    /// Time of the last write, the same value that oxFileExists sets.
    _oxTime fileTime() const;
    /// Sets `time` to the time of the last write.
    void fileTime(_oxTime & time) const;
    /// Whether the entry is a folder.
    bool isDir() const;
    /// Type of the entry in the form of access rights: "d" for a folder, " " for a file.
    QString lxAccessrights() const;

    /// Returns the system's error code that ended the listing early, or 0. The code distinguishes
    /// an unreadable folder from an empty folder.
    int error() const { return error_; }

    /// Ends the listing. A listing in memory keeps its current entry.
    void close();

  private:
    struct Row {
        QString name;
        _oxTime time;
        __int64 size = 0;
        bool isFolder = false;
    };

    void open(QString const & path);
    bool nextInMemory();
    bool nextOfWalk();
    bool isAccepted() const;
    void readRows(bool sortByName);
    template <typename T, typename FromWalk>
    T value(T Row::*column, FromWalk fromWalk) const;

    bool active_ = false;
    bool fromMemory_ = false;
    bool includeDirs_ = false;
    bool hasEntry_ = false; ///< whether walk_ has a current entry
    QString folder_;
    std::vector<QString> endings_;
    std::vector<Row> rows_;
    std::ptrdiff_t row_ = -1;
    std::unique_ptr<ox::platform::FolderWalk> walk_;
    int error_ = 0;
};
