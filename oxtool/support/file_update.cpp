#include "oxtool/support/file_update.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/stop.h"
#include "shared/fs/copy_steps.h"
#include "shared/fs/file_sync_steps.h"
#include "shared/platform/new_file.h"

#include <cstring>
#include <vector>

namespace ox::tool
{
namespace
{

using platform::NewFile;

template <typename Result>
void require(Result const & result, QString const & prefix = {})
{
    if (!result)
        throw Failure(prefix + reasonOf(result.error()));
}

QString stopMessage(FileUpdate const & update)
{
    bool const exists = platform::kindOf(nativeName(update.target)) != platform::NameKind::None;
    return (exists
                ? QStringLiteral(
                      "stopped; the target is complete, either the previous or the new file: '%1'")
                : QStringLiteral("stopped; the target was not created: '%1'"))
        .arg(update.shownTarget);
}

void createCopy(NewFile & copy, FileUpdate const & update, StopGuard & guard)
{
    auto const target = nativeName(update.target);
    require(update.isNew ? copy.openForMissing(target)
                         : copy.open(target, NewFile::Links::Replaced));
    platform::Result<> created;
    guard.acquire(
        [&] {
            created = copy.create(NewFile::Access::Owner);
            return static_cast<bool>(created);
        },
        [&copy] { copy.remove(); }, [&update] { return stopMessage(update); });
    require(created);
}

/// Keeps the previous file as "_old" and renames the copy to the target. Stop requests are deferred
/// meanwhile, so that the process does not end between these two steps.
void putInPlace(NewFile & copy, FileUpdate const & update, StopGuard & guard, UpdateResult & done)
{
    // With the size -1, which no file has, keepPrevious() never treats the target as up to date.
    qint64 const size = update.comparesContent ? -1 : update.sourceStatus.size;
    fs::SyncPlacement placement;
    guard.complete([&] {
        placement =
            fs::putSyncedCopyInPlace(copy, update.isReplaced && update.keepsPrevious, size,
                                     update.sourceStatus.modified, NewFile::FolderFlush::ByCaller);
        done.isCopied = placement.placed && !placement.wasUpToDate;
        return done.isCopied;
    });
    if (!placement.kept)
        done.warning = QStringLiteral("cannot rename the previous version of '%1': %2")
                           .arg(update.shownTarget, reasonOf(placement.kept.error()));
    require(placement.placed);
}

} // namespace

UpdateResult updateFile(FileUpdate const & update, Transfer & transfer)
{
    UpdateResult done;
    NewFile copy;
    StopGuard guard;
    createCopy(copy, update, guard);
    {
        Transfer::File const file(transfer, copy, update.sourceStatus.size);
        QString const failure = fs::copyWhole(nativeName(update.source), copy, update.pauseMs,
                                              &done.endsEmpty, NewFile::Attributes::Omitted);
        if (!failure.isEmpty())
            throw Failure(reasonIn(failure));
    }
    platform::Result<> const rights = copy.allowEverybodyToExecute();
    putInPlace(copy, update, guard, done);
    require(rights, QStringLiteral("cannot set the rights of the target: "));
    return done;
}

bool haveSameContent(QString const & one, QString const & other)
{
    constexpr std::size_t size = fs::copyPiece;
    std::vector<char> first(size);
    std::vector<char> second(size);
    auto firstFile = platform::openForReading(nativeName(one), platform::Writers::Allowed);
    require(firstFile);
    auto secondFile = platform::openForReading(nativeName(other), platform::Writers::Allowed);
    require(secondFile);
    for (;;) {
        auto const read = firstFile->read(first.data(), size);
        require(read);
        auto const readToo = secondFile->read(second.data(), size);
        require(readToo);
        if (*read != *readToo || std::memcmp(first.data(), second.data(), *read) != 0)
            return false;
        if (*read < size)
            return true;
    }
}

} // namespace ox::tool
