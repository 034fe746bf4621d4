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

/// The entries of one folder, without those of its subfolders:
///
///     oxDirListing listing;
///     listing.addEndsWithFilter(QStringLiteral(".exr"));
///     listing.init(folder, false, true, true, false);
///     while (listing.nextFile())
///         use(listing.dirFileName(), listing.fileTime());
///
/// A listing walks the folder as it is asked, or reads all of it into memory first, so that a
/// folder on a slow share is walked once and its entries can be looked at for as long as one likes.
/// The names cost the share no question an entry; size and time are asked for at most once an
/// entry, and only when they are wanted.
///
/// Links are followed, as everywhere in the library: a link to a folder is a folder, and a link
/// that leads nowhere is a file with the time of the link. On Linux a name that is not UTF-8 has
/// the lone surrogate U+DC00 + byte for each byte that is none; the library's functions find the
/// file under that name.
class OX_EXPORT oxDirListing
{
  public:
    oxDirListing();
    ~oxDirListing();
    oxDirListing(oxDirListing const &) = delete;
    oxDirListing & operator=(oxDirListing const &) = delete;

    /// Begins a listing, in place of the one before; the filters stay. `path`, with the separators
    /// of any system, is
    /// - a folder, with or without a separator at its end;
    /// - a file, which is then the only entry;
    /// - a pattern that ends with `*`: `C:\out\shot_*`. `*` stands for any characters, `?` for one,
    ///   or for none before a dot or the end; `.*` also fits names without a dot. Letters fit in
    ///   any case on Windows and in their own case on Linux, where files differ in it.
    /// An empty path, and a folder that cannot be read, has no entries.
    ///
    /// With includeDirs folders are entries as well, but never "." and "..". With readIntoMemory
    /// all entries that the filters accept are read at once, and with sortByName sorted by the
    /// UTF-16 units of their names, so that "B" comes before "a". `reserved` has no effect; the
    /// farm's applications pass it.
    void init(QString path, bool const & includeDirs, bool const & readIntoMemory,
              bool const & sortByName, bool const & reserved);

    /// Accepts only files with one of the endings added, in any case of their letters. Folders are
    /// not filtered. Takes effect from the next entry on; a listing in memory was filtered by init.
    void addEndsWithFilter(QString const & ending);

    /// Moves to the next entry, which is the first one after init. False at the end.
    bool nextFile();

    // The current entry. Where there is none, before the first and after the last, the name is
    // empty, size and time are 0, and it is no folder. A listing in memory stays on its last entry
    // at the end, deliberately: its callers ask for the last name after the loop.

    /// Without the folder.
    QString fileName() const;
    void fileName(QString & name) const;
    /// The folder, with its separator, and the name.
    QString dirFileName() const;
    /// In bytes; 0 for a folder.
    __int64 fileSize() const;
    void fileSize(__int64 & size) const;
    /// The last write, as oxFileExists gives it.
    _oxTime fileTime() const;
    void fileTime(_oxTime & time) const;
    bool isDir() const;
    /// "d" for a folder, " " for a file.
    QString lxAccessrights() const;

    /// The system's error that ended the listing early, for oxLastOSError; 0 when there was none.
    /// Without it an unreadable folder looks like an empty one.
    int error() const { return error_; }

    /// Ends the listing. The current entry of a listing in memory stays.
    void close();

  private:
    struct Row {
        QString name;
        _oxTime time;
        __int64 size = 0;
        bool isFolder = false;
    };

    bool nextInMemory();
    bool nextOfWalk();
    bool isAccepted() const;
    void readRows(bool sortByName);
    template <typename T, typename FromWalk>
    T value(T Row::*column, FromWalk fromWalk) const;

    bool active_ = false;
    bool fromMemory_ = false;
    bool includeDirs_ = false;
    bool hasEntry_ = false; ///< the walk stands on one
    QString folder_;
    std::vector<QString> endings_;
    std::vector<Row> rows_;
    std::ptrdiff_t row_ = -1;
    std::unique_ptr<ox::platform::FolderWalk> walk_;
    int error_ = 0;
};
