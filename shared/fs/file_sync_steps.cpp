#include "shared/fs/file_sync_steps.h"

#include "shared/fs/access_rights.h"
#include "shared/fs/copy.h"
#include "shared/fs/file.h"
#include "shared/fs/native_path.h"
#include "shared/fs/path.h"
#include "shared/system/os_error.h"

namespace ox::detail
{
namespace
{

using Path = _oxString8_evenSize<500>;

constexpr int retryWaitMs = 5000;

QString toQPath(Path const & path)
{
    return toQString(platform::recordText(path.view()));
}

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

        _oxTime targetTime;
        __int64 targetSize = 0;
        bool const exists = oxFileExists(target_, &targetTime, &targetSize);
        bool const isEqual = exists && targetSize == size && targetTime == time;
        if (exists && !isEqual)
            keepOld();
        if (!makeFolder())
            return Result::Failed;
        if (!isEqual)
            return copy(pause);
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

    void keepOld() const
    {
        append(info_, "Renaming dest file", target_, ";\n");
        QString const target = toQPath(target_);
        if (!oxRenameFile(target, target + QStringLiteral("_old"), true))
            append(errors_, "Unable to rename file! ", target_, " ", oxLastOSError8().c_str());
    }

    bool makeFolder() const
    {
        Path const folder = oxGetDirName(target_);
        if (oxDirectoryExists(folder))
            return true;
        if (oxDirectoryExists(oxGetDirName(folder)) && oxCreateFolder(toQPath(folder), true))
            oxSetFolderRights_ReadWriteAll(folder.c_str(), false);
        if (oxDirectoryExists(folder))
            return true;
        append(errors_, "Destination folder does not exist! ", folder);
        return false;
    }

    Result copy(int pause) const
    {
        bool endsEmpty = false;
        QString const failure =
            oxCopyFile(toQPath(source_), toQPath(target_), true, pause, &endsEmpty);
        if (!failure.isEmpty())
            return failed(Path(failure), source_, " => ", target_);
        if (!oxSetFileRights_ReadWriteExecuteAll(target_.c_str()))
            return failed("Unable to set execute rights on file! ", target_, " ",
                          oxLastOSError8().c_str());
        append(info_, "Copied ", source_, " => ", target_, ". ");
        return endsEmpty ? Result::LastByteEmpty : Result::UpToDate;
    }

    Path const & source_;
    Path const & target_;
    Path * errors_;
    Path * info_;
};

} // namespace

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
        sleep(retryWaitMs);
    }
}

} // namespace ox::detail
