#include "shared/fs/file_sync_steps.h"

#include "shared/fs/copy_steps.h"
#include "shared/fs/file.h"
#include "shared/fs/path.h"
#include "shared/platform/files.h"
#include "shared/system/os_error.h"
#include "shared/text/native_path.h"

#include <string_view>

namespace ox::fs
{
namespace
{

using Path = _oxString8_evenSize<500>;
using Attributes = platform::NewFile::Attributes;

class FileSync
{
  public:
    FileSync(Path const & source, Path const & target, Path * errors, Path * info)
        : source_(source), target_(target), errors_(errors), info_(info)
    {
    }

    enum class Result { UpToDate, Failed, LastByteEmpty };

    Result run(int pause, bool verbose)
    {
        _oxTime time;
        __int64 size = 0;
        if (!oxFileExists(source_, &time, &size))
            return failed("Source file does not exists! ", source_);
        if (size <= 0)
            return failed("Source has no file size! ", source_);
        if (time.value <= 0)
            return failed("Source has no file time! ", source_);

        SyncTarget const target =
            compareWithMaster(platform::fileStatus(nativePath(target_)), size, time.value);
        bool const isEqual = target.isUpToDate();
        if (target.exists && !isEqual)
            append(info_, "Renaming dest file", target_, ";\n");
        // If isFolderOfTarget() is true, makeFolder() and its queries are not necessary. If the
        // target exists, its folder exists, too. If the target is missing, copy() opens the folder,
        // and creates it if it cannot be opened.
        if (!isFolderOfTarget() && !makeFolder())
            return Result::Failed;
        if (!isEqual)
            return copy(pause, target, size, time);
        if (verbose)
            append(info_, "No need to copy ", source_, " => ", target_, ". ");
        return Result::UpToDate;
    }

  private:
    template <typename... Texts>
    static void append(Path * to, Texts const &... texts)
    {
        if (to)
            ((*to += texts), ...);
    }

    template <typename... Texts>
    Result failed(Texts const &... texts) const
    {
        append(errors_, texts...);
        return Result::Failed;
    }

    /// Returns whether the folder that makeFolder() creates is the folder in which the system looks
    /// up the target. The two folders can differ if the path of the created folder is shorter than
    /// 3 characters, or if the file name contains the separator of another system.
    bool isFolderOfTarget() const
    {
        Path const folder = oxGetDirName(target_);
        std::string_view const path = target_.view();
        return folder.size() >= 3 && path.starts_with(folder.view()) &&
               path.rfind(platform::ownSeparator) == folder.view().size();
    }

    bool makeFolder() const
    {
        Path const folder = oxGetDirName(target_);
        if (oxDirectoryExists(folder))
            return true;
        if (oxDirectoryExists(oxGetDirName(folder)))
            static_cast<void>(platform::createFolderForEverybody(nativePath(folder)));
        if (oxDirectoryExists(folder))
            return true;
        append(errors_, "Destination folder does not exist! ", folder);
        return false;
    }

    /// Copies to a new file in the target's folder, then renames it to the target.
    Result copy(int pause, SyncTarget const & target, __int64 size, _oxTime time) const
    {
        platform::NewFile copy;
        auto const open = [&] {
            return target.isMissing
                       ? copy.openForMissing(nativePath(target_))
                       : copy.open(nativePath(target_), platform::NewFile::Links::Replaced);
        };
        platform::Result<> opened = open();
        if (!opened) {
            if (!makeFolder())
                return Result::Failed;
            opened = open();
        }
        bool endsEmpty = false;
        QString const failure = copyTo(copy, opened, pause, &endsEmpty);
        if (!failure.isEmpty())
            return failed(Path(failure), source_, " => ", target_);
        QString const rightsFailure = systemText(copy.allowEverybodyToExecute());
        SyncPlacement const done = putSyncedCopyInPlace(copy, target.mayExist, size, time.value,
                                                        platform::NewFile::FolderFlush::Now);
        if (!reportToThread(done.kept))
            append(errors_, "Unable to rename file! ", target_, " ", oxLastOSError8().c_str());
        QString const moveFailure = systemText(done.placed);
        if (moveFailure.isEmpty())
            return finished(rightsFailure, endsEmpty);
        return failed(Path(moveFailure), source_, " => ", target_);
    }

    QString copyTo(platform::NewFile & copy, platform::Result<> const & opened, int pause,
                   bool * endsEmpty) const
    {
        platform::Result<> const created =
            opened ? copy.create(platform::NewFile::Access::Owner) : opened;
        if (!created)
            return pause < 0 ? systemText(created) : targetNotOpened();
        return copyWhole(nativePath(source_), copy, pause, endsEmpty, Attributes::Omitted);
    }

    Result finished(QString const & rightsFailure, bool endsEmpty) const
    {
        if (!rightsFailure.isEmpty())
            return failed("Unable to set execute rights on file! ", target_, " ",
                          Path(rightsFailure));
        append(info_, "Copied ", source_, " => ", target_, ". ");
        return endsEmpty ? Result::LastByteEmpty : Result::UpToDate;
    }

    Path const & source_;
    Path const & target_;
    Path * errors_;
    Path * info_;
};

} // namespace

SyncTarget compareWithMaster(platform::Result<platform::FileStatus> const & target,
                             std::int64_t size, std::int64_t modified)
{
    bool const exists = target && !target->isFolder;
    // A target whose status cannot be read may exist, so it is also kept as a backup.
    bool const isMissing = !target && target.error().kind() == platform::ErrorKind::NotFound;
    return {.exists = exists,
            .mayExist = exists || (!target && !isMissing),
            .isMissing = isMissing,
            .hasSameSize = exists && target->size == size,
            .hasSameTime = exists && target->modified == modified};
}

SyncPlacement putSyncedCopyInPlace(platform::NewFile & copy, bool keepsPrevious, std::int64_t size,
                                   std::int64_t modified, platform::NewFile::FolderFlush flush)
{
    using Previous = platform::NewFile::Previous;
    SyncPlacement done;
    if (keepsPrevious) {
        auto const previous = copy.keepPrevious("_old", size, modified);
        if (!previous)
            done.kept = previous.error();
        done.wasUpToDate = previous && *previous == Previous::IsUpToDate;
    }
    if (!done.wasUpToDate)
        done.placed = copy.putInPlace(flush);
    return done;
}

bool syncCopy(Path const & source, Path const & target, bool retryExe, Path * errors, Path * info,
              int pause, bool verbose, std::function<void(int)> const & sleep)
{
    bool const mayRetry = retryExe && errors && target.endsWith(".exe");
    FileSync sync(source, target, errors, info);
    for (;;) {
        FileSync::Result const result = sync.run(pause, verbose);
        if (result != FileSync::Result::LastByteEmpty || !mayRetry)
            return result != FileSync::Result::Failed;
        *errors += "Last byte was empty. Waiting 5s, then start copy again. File: ";
        *errors += oxGetFileName(target).c_str();
        *errors += " .";
        sleep(syncRetryMs);
    }
}

} // namespace ox::fs
