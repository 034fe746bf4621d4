#include "shared/fs/dir_listing.h"

#include "shared/fs/path.h"
#include "shared/platform/files.h"
#include "shared/platform/folders.h"
#include "shared/text/native_path.h"

#include <algorithm>
#include <iterator>

using ox::platform::FolderWalk;
using ox::platform::NameKind;
using ox::text::nativePath;
using ox::text::ownSeparator;

oxDirListing::oxDirListing() = default;

oxDirListing::~oxDirListing() = default;

void oxDirListing::init(QString path, bool const & includeDirs, bool const & readIntoMemory,
                        bool const & sortByName, bool const &)
{
    close();
    rows_.clear();
    row_ = -1;
    error_ = 0;
    includeDirs_ = includeDirs;
    folder_.clear();
    if (path.isEmpty())
        return;

    open(oxConvertPDToOS(path));
    active_ = true;
    if (readIntoMemory)
        readRows(sortByName);
}

/// Opens `path` as a folder without a status query, which would be one more round trip to the
/// share. If the open fails and `path` is a file, lists only this file.
void oxDirListing::open(QString const & path)
{
    auto const walkThrough = [this](QString const & wanted) {
        folder_ = wanted.left(wanted.lastIndexOf(ownSeparator) + 1);
        walk_ = std::make_unique<FolderWalk>(nativePath(wanted));
    };
    if (path.endsWith(u'*'))
        return walkThrough(path);
    bool const isFolder = path.endsWith(ownSeparator);
    walkThrough(isFolder ? path + u'*' : path + ownSeparator + u'*');
    if (!isFolder && !walk_->open() && ox::platform::kindOf(nativePath(path)) == NameKind::File)
        walkThrough(path);
}

void oxDirListing::readRows(bool sortByName)
{
    while (nextFile())
        rows_.push_back({fileName(), fileTime(), fileSize(), isDir()});
    if (sortByName)
        std::sort(rows_.begin(), rows_.end(),
                  [](Row const & a, Row const & b) { return a.name < b.name; });
    active_ = true;
    fromMemory_ = true;
}

void oxDirListing::addEndsWithFilter(QString const & ending)
{
    endings_.push_back(ending);
}

bool oxDirListing::nextFile()
{
    active_ = active_ && (fromMemory_ ? nextInMemory() : nextOfWalk());
    return active_;
}

bool oxDirListing::nextInMemory()
{
    if (row_ + 1 >= std::ssize(rows_))
        return false;
    ++row_;
    return true;
}

bool oxDirListing::nextOfWalk()
{
    do {
        hasEntry_ = walk_->next();
    } while (hasEntry_ && !isAccepted());
    if (!hasEntry_) {
        error_ = walk_->error();
        close();
    }
    return hasEntry_;
}

bool oxDirListing::isAccepted() const
{
    if (isDir())
        return includeDirs_;
    if (endings_.empty())
        return true;
    QString const name = fileName();
    return std::any_of(endings_.begin(), endings_.end(), [&name](QString const & ending) {
        return name.endsWith(ending, Qt::CaseInsensitive);
    });
}

template <typename T, typename FromWalk>
T oxDirListing::value(T Row::*column, FromWalk fromWalk) const
{
    if (row_ >= 0)
        return rows_[static_cast<std::size_t>(row_)].*column;
    return hasEntry_ ? fromWalk(*walk_) : T();
}

QString oxDirListing::fileName() const
{
    return value(&Row::name, [](FolderWalk & walk) { return ox::text::toQString(walk.name()); });
}

void oxDirListing::fileName(QString & name) const
{
    name = fileName();
}

QString oxDirListing::dirFileName() const
{
    return folder_ + fileName();
}

__int64 oxDirListing::fileSize() const
{
    return value(&Row::size, [](FolderWalk & walk) -> __int64 { return walk.size(); });
}

void oxDirListing::fileSize(__int64 & size) const
{
    size = fileSize();
}

_oxTime oxDirListing::fileTime() const
{
    return value(&Row::time, [](FolderWalk & walk) {
        return _oxTime(static_cast<__int64>(walk.modified()), true);
    });
}

void oxDirListing::fileTime(_oxTime & time) const
{
    time = fileTime();
}

bool oxDirListing::isDir() const
{
    return value(&Row::isFolder, [](FolderWalk & walk) { return walk.isFolder(); });
}

QString oxDirListing::lxAccessrights() const
{
    return isDir() ? QStringLiteral("d") : QStringLiteral(" ");
}

void oxDirListing::close()
{
    walk_.reset();
    hasEntry_ = false;
    active_ = false;
    fromMemory_ = false;
}
