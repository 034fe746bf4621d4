#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "oxtool/support/stop.h"
#include "shared/fs/dir_listing.h"
#include "shared/fs/file_sync.h"
#include "shared/platform/files.h"
#include "shared/platform/new_file.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QStringList>

namespace ox::tool
{
namespace
{

struct Options {
    QString source;
    QString target;
    std::vector<QString> endings;
    int pauseMs = -1;
    bool retry = false;
    bool verbose = false;
    bool json = false;
};

/// Removes the temporary file of a copy when a stop request ends the process. The target is
/// complete at every moment.
class TemporaryFileGuard
{
  public:
    explicit TemporaryFileGuard(QString const & target) : target_(target)
    {
        guard_.acquire([] { return true; },
                       [this] { platform::removeNewFilesOfThisProcess(nativeName(target_)); },
                       [this] { return stopMessage(); });
    }

    void complete()
    {
        guard_.complete([] { return true; });
    }

  private:
    QString stopMessage() const
    {
        bool const exists = platform::kindOf(nativeName(target_)) != platform::NameKind::None;
        return QStringLiteral("stopped, target %1: '%2'")
            .arg(exists ? QStringLiteral("complete") : QStringLiteral("not created"), target_);
    }

    QString const target_;
    StopGuard guard_;
};

class Sync
{
  public:
    Sync(Options const & options, Report & report) : options_(options), report_(report) {}

    void run()
    {
        QString const source = options_.source;
        QString const target = options_.target;
        if (target.isEmpty())
            throw Failure(QStringLiteral("cannot copy to TARGET: the name is empty"));
        switch (platform::kindOf(nativeName(source))) {
        case platform::NameKind::Folder:
            runFolder(withTrailingSeparator(source), withTrailingSeparator(target));
            break;
        case platform::NameKind::File:
            if (ensureFolder(folderOf(fullPath(target))))
                runFile(source, target);
            break;
        case platform::NameKind::None:
            failToRead(source, platform::lastError());
        }
        report_.set(QStringLiteral("copied"), copied_);
        report_.set(QStringLiteral("upToDate"), upToDate_);
        report_.set(QStringLiteral("failed"), failures_.size());
        report_.set(QStringLiteral("folders"), folders_);
        report_.set(QStringLiteral("warnings"), warnings_);
        report_.line(QStringLiteral("done"), QStringLiteral("%1 copied, %2 up to date, %3 failed%4")
                                                 .arg(copied_)
                                                 .arg(upToDate_)
                                                 .arg(failures_.size())
                                                 .arg(foldersText()));
        if (!failures_.isEmpty())
            throw Failure::reported(failures_, status_);
    }

  private:
    using Text = _oxString8_evenSize<500>;

    static QString withTrailingSeparator(QString const & path)
    {
        QChar const separator = QLatin1Char(platform::ownSeparator);
        return path.endsWith(separator) ? path : path + separator;
    }

    QString foldersText() const
    {
        return folders_ > 0 ? QStringLiteral(", folders skipped: %1").arg(folders_) : QString();
    }

    static QString folderOf(QString const & path)
    {
        return path.left(path.lastIndexOf(QLatin1Char(platform::ownSeparator)) + 1);
    }

    void runFolder(QString const & source, QString const & target)
    {
        oxDirListing files;
        for (QString const & ending : options_.endings)
            files.addEndsWithFilter(ending);
        files.init(source, true, true, true, false);
        bool isReady = false;
        while (files.nextFile()) {
            if (files.isDir()) {
                ++folders_;
                continue;
            }
            isReady = isReady || ensureFolder(fullPath(target));
            if (!isReady)
                return;
            runFile(files.dirFileName(), target + files.fileName());
        }
        if (files.error() != 0)
            failToRead(source, platform::Error{files.error()});
    }

    /// Creates a folder unless it exists; its parent must exist. Returns whether it exists then.
    bool ensureFolder(QString const & folder)
    {
        auto const name = nativeName(folder);
        auto const exists = [&name] {
            return platform::kindOf(name) == platform::NameKind::Folder;
        };
        if (exists())
            return true;
        auto const created = platform::createFolderForEverybody(name);
        if (created || exists()) // another process may have created it meanwhile
            return true;
        fail(
            QStringLiteral("cannot create folder '%1': %2").arg(folder, reasonOf(created.error())));
        return false;
    }

    void runFile(QString const & source, QString const & target)
    try {
        Text errors;
        Text info;
        if (!update(source, target, errors, info)) {
            failToUpdate(target, fromRecord(errors));
            return;
        }
        if (!errors.isEmpty())
            warn(fromRecord(errors));
        ++(info.isEmpty() ? upToDate_ : copied_);
        if (!info.isEmpty() || options_.verbose)
            report_.line(info.isEmpty() ? QStringLiteral("up to date") : QStringLiteral("copied"),
                         target);
    } catch (Failure const & failure) {
        failToUpdate(target, failure.text());
    }

    bool update(QString const & source, QString const & target, Text & errors, Text & info)
    {
        TemporaryFileGuard guard(target);
        Progress const progress(QStringLiteral("Synchronising %1").arg(target));
        // The library interprets relative paths, and names of one or two letters, as drives or
        // roots.
        bool const succeeded = updateFullPath(fullPath(source), fullPath(target), errors, info);
        guard.complete();
        return succeeded;
    }

    bool updateFullPath(QString const & source, QString const & target, Text & errors, Text & info)
    {
        auto const status = platform::fileStatus(nativeName(source));
        bool const isEmpty = status && status->size == 0 && QFileInfo(source).isFile();
        if (isEmpty)
            return updateEmpty(source, status->modified, target, info);
        return syncCopy(recordName(source), recordName(target), options_.retry, &errors, &info,
                        options_.pauseMs, false);
    }

    /// Copies an empty file as the library copies others, since the library refuses empty files.
    bool updateEmpty(QString const & source, qint64 modified, QString const & target, Text & info)
    {
        auto const present = platform::fileStatus(nativeName(target));
        if (present && !present->isFolder && present->size == 0 && present->modified == modified)
            return true;
        using platform::NewFile;
        NewFile copy;
        auto const require = [](auto const & result, QString const & prefix = {}) {
            if (!result)
                throw Failure(prefix + reasonOf(result.error()));
        };
        require(copy.open(nativeName(target), NewFile::Links::Replaced));
        require(copy.create(NewFile::Access::Owner));
        require(copy.copyFrom(nativeName(source)));
        require(copy.allowEverybodyToExecute());
        auto const previous = copy.keepPrevious("_old", 0, modified);
        require(previous, QStringLiteral("cannot rename the previous file: "));
        if (*previous == NewFile::Previous::IsUpToDate)
            return true;
        require(copy.putInPlace());
        info = "Copied";
        return true;
    }

    void failToUpdate(QString const & target, QString const & reason)
    {
        fail(QStringLiteral("cannot update '%1': %2").arg(target, reason));
    }

    void failToRead(QString const & source, platform::Error error)
    {
        fail(QStringLiteral("cannot read '%1': %2").arg(source, reasonOf(error)), statusOf(error));
    }

    void fail(QString const & text, int status = Failed)
    {
        writeError(text);
        failures_.append(text);
        status_ = combinedStatus(status_, status);
    }

    void warn(QString const & text)
    {
        report_.line(QStringLiteral("warning"), text);
        warnings_.append(text);
    }

    Options const & options_;
    Report & report_;
    int copied_ = 0;
    int upToDate_ = 0;
    int folders_ = 0;
    QStringList failures_;
    int status_ = Done; ///< exit status of the failures
    QJsonArray warnings_;
};

} // namespace

Command syncCommand()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "sync",
        .group = Group::Files,
        .summary = "Copy new and changed files to TARGET",
        .details =
            "A file is copied if it is missing or differs in size or time. The previous file is\n"
            "kept as FILE_old. One missing folder level is created.",
        .options = {{.name = "SOURCE",
                     .help = "Source file, or folder of source files",
                     .target = &options->source,
                     .isRequired = true},
                    {.name = "TARGET",
                     .help = "Target file or folder",
                     .target = &options->target,
                     .isRequired = true},
                    {.name = "--ends",
                     .valueName = "ENDING",
                     .help = "Copy only files with this ending, in any letter case",
                     .target = &options->endings},
                    pauseOption(options->pauseMs),
                    {.name = "--retry-exe",
                     .help = "Copy an unfinished .exe again after 5 s; needs --pause",
                     .target = &options->retry},
                    {.name = "--verbose",
                     .letter = 'v',
                     .help = "List up-to-date files as well",
                     .target = &options->verbose},
                    jsonOption(options->json)},
        .examples = {"oxtool sync /mnt/share/bin /opt/farm/bin --pause 50ms --retry-exe"},
        .run = reporting(
            options, [](Options const & given, Report & report) { Sync(given, report).run(); })};
}

} // namespace ox::tool
