#include "oxtool/commands/commands.h"
#include "oxtool/support/deletion.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/file_update.h"
#include "oxtool/support/folder_list.h"
#include "oxtool/support/jobs.h"
#include "oxtool/support/name_patterns.h"
#include "oxtool/support/names.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "oxtool/support/transfer.h"
#include "shared/fs/file_sync_steps.h"
#include "shared/platform/files.h"
#include "shared/platform/folders.h"
#include "shared/system/environment.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QStringList>

#include <algorithm>
#include <atomic>
#include <set>

namespace ox::tool
{
namespace
{

/// Name of the marker: the file that TARGET must contain for --delete.
constexpr char deletionMarker[] = ".oxtool-sync";

struct Options {
    QString source;
    QString target;
    FolderSelection selection;
    int jobs = 0;
    int pauseMs = -1;
    bool comparesContent = false;
    bool retry = false;
    bool dryRun = false;
    bool deletes = false;
    bool isForced = false;
    bool verbose = false;
    bool json = false;
};

/// Minimum number of files in a folder of the source for which the tool tests whether the target's
/// folder is empty. In an empty folder the status query for each file is omitted. With fewer files
/// the test would save little time, and cost time in each run that finds all files up to date.
constexpr std::size_t filesWorthAListing = 16;

/// A folder of the target.
struct Folder {
    QString path;              ///< full path with a separator at its end
    std::size_t fileCount = 0; ///< number of its files to compare
    bool exists = false;
    bool isEmpty = false; ///< whether it is missing or contains nothing
    bool isUsable = true; ///< false after its creation has failed
};

enum class State { UpToDate, Due, Copied, Failed };

/// A file of the source with its target.
struct Item {
    std::size_t folder; ///< index of the target's folder
    FileUpdate update;
    State state = State::Due;
    QString failure;
    QStringList warnings;
};

QString withSeparator(QString const & path)
{
    QChar const separator = QLatin1Char(platform::ownSeparator);
    return path.endsWith(separator) ? path : path + separator;
}

QString folderOf(QString const & path)
{
    return path.left(path.lastIndexOf(QLatin1Char(platform::ownSeparator)) + 1);
}

/// Returns the status of the master copy, the file in SOURCE.
/// Fails: throws Failure when the master copy does not exist, is not a regular file or has no
/// last-write time.
platform::FileStatus masterStatus(QString const & path)
{
    auto const status = platform::fileStatus(nativeName(path));
    if (!status)
        throw Failure(reasonOf(status.error()));
    if (status->size == 0 && !QFileInfo(path).isFile())
        throw Failure(QStringLiteral("not a regular file"));
    if (status->size > 0 && status->modified <= 0)
        throw Failure(QStringLiteral("the source has no last-write time"));
    return *status;
}

/// Compares a file with its target, and sets the state to UpToDate or Due. The target is not
/// queried if its folder is empty.
void compare(Item & item, Options const & options, bool isFolderEmpty)
{
    FileUpdate & update = item.update;
    update.sourceStatus = masterStatus(update.source);
    item.state = State::Due;
    update.isNew = isFolderEmpty;
    if (isFolderEmpty)
        return;
    fs::SyncTarget const target =
        fs::compareWithMaster(platform::fileStatus(nativeName(update.target)),
                              update.sourceStatus.size, update.sourceStatus.modified);
    update.isReplaced = target.mayExist;
    update.isNew = target.isMissing;
    bool const isEqual = target.hasSameSize &&
                         (options.comparesContent ? haveSameContent(update.source, update.target)
                                                  : target.hasSameTime);
    if (isEqual)
        item.state = State::UpToDate;
}

/// Copies a file. With --retry-exe, an .exe that ends in zeros is compared with its copy again
/// 5 s later. If the .exe has changed, it is copied again.
void copy(Item & item, Options const & options, Transfer & transfer)
{
    bool const mayRetry = options.retry && item.update.target.endsWith(QLatin1String(".exe"));
    while (item.state == State::Due) {
        UpdateResult const done = updateFile(item.update, transfer);
        if (!done.warning.isEmpty())
            item.warnings.append(done.warning);
        bool const isRepeated = done.endsEmpty && mayRetry;
        if (isRepeated) {
            item.warnings.append(
                QStringLiteral(
                    "'%1' ends in zeros and may be unfinished; it is compared again after 5 s")
                    .arg(item.update.source));
            oxSleep(fs::syncRetryMs);
            compare(item, options, false);
        }
        if (!isRepeated || item.state == State::UpToDate)
            item.state = State::Copied;
    }
}

/// Calls `work`, and stores a Failure in the item.
template <typename Work>
void attempt(Item & item, Work const & work)
try {
    work();
} catch (Failure const & failure) {
    item.state = State::Failed;
    item.failure = failure.text();
}

/// Relative paths of the source's files and folders, which --delete keeps in the target. Letter
/// case is ignored, since a share may store a copy under a name in another case.
class SourceNames
{
  public:
    void addFile(QString const & path) { files_.insert(path.toCaseFolded()); }

    /// Adds a folder. `path` has a separator at its end. If the folder was skipped, its whole
    /// content in the target is kept.
    void addFolder(QString const & path, bool isSkipped)
    {
        (isSkipped ? skipped_ : folders_).insert(path.left(path.size() - 1).toCaseFolded());
    }

    fs::Keep ruleFor(QString const & path, bool isFolder, FolderSelection const & selection) const
    {
        QString const name = path.toCaseFolded();
        if (matchesAny(path, selection.excluded) || skipped_.contains(name))
            return fs::Keep::All;
        if (isFolder)
            return folders_.contains(name) ? fs::Keep::Folder : fs::Keep::Nothing;
        // A link in the target with the name of a source folder is kept, since the files of this
        // folder were copied through the link.
        bool const isKept = !isSelected(path, selection) || folders_.contains(name) ||
                            isOfSource(name) || name == QLatin1String(deletionMarker) ||
                            name.mid(name.lastIndexOf(QLatin1Char(platform::ownSeparator)) + 1)
                                .startsWith(QLatin1String(".oxshared-"));
        return isKept ? fs::Keep::All : fs::Keep::Nothing;
    }

  private:
    static bool isSelected(QString const & path, FolderSelection const & selection)
    {
        auto const & endings = selection.endings;
        return endings.empty() ||
               std::any_of(endings.begin(), endings.end(), [&path](QString const & ending) {
                   return path.endsWith(ending, Qt::CaseInsensitive);
               });
    }

    /// Returns whether `name` is a file of the source, or a source file's previous version or lock
    /// file.
    bool isOfSource(QString const & name) const
    {
        auto const isAddition = [&](char const * addition) {
            QLatin1String const end(addition);
            return name.endsWith(end) && files_.contains(name.left(name.size() - end.size()));
        };
        return files_.contains(name) || isAddition("_old") || isAddition("_lock.txt");
    }

    std::set<QString> files_;
    std::set<QString> folders_;
    std::set<QString> skipped_;
};

/// Works in two passes over the files: the first pass compares, the second one copies. So the
/// amount to copy is known before the first copy. In a dry run the second pass only lists the
/// files.
class Sync
{
  public:
    Sync(Options const & options, Report & report)
        : options_(options), report_(report), jobs_(threadCount(options.jobs, options.pauseMs >= 0))
    {
    }

    void run()
    {
        QString const source = options_.source;
        QString const target = options_.target;
        if (target.isEmpty())
            throw Failure(QStringLiteral("cannot copy to '': the name is empty"));
        auto const kind = platform::kindOf(nativeName(source));
        if (options_.deletes)
            requireDeletable(kind);
        report_.beginArray(QStringLiteral("files"));
        switch (kind) {
        case platform::NameKind::Folder:
            requireSeparate();
            addFolders(withSeparator(source), withSeparator(target));
            break;
        case platform::NameKind::File:
            folders_.push_back({folderOf(fullPath(target))});
            addFile(fullPath(source), fullPath(target), target);
            break;
        case platform::NameKind::None:
            failToRead(source, platform::lastError());
        }
        comparePass();
        if (!options_.dryRun)
            createFolders();
        copyPass();
        flushFolders();
        if (options_.deletes)
            deletePass();
        finish();
    }

  private:
    /// Throws Failure in two cases:
    /// - SOURCE is a file.
    /// - TARGET exists but does not contain the marker, and --force is not given. Without this
    ///   check, --delete would empty a mistyped TARGET.
    void requireDeletable(platform::NameKind source) const
    {
        if (source == platform::NameKind::File)
            throw Failure(QStringLiteral("--delete needs a folder as SOURCE"), WrongUse);
        QString const target = withSeparator(options_.target);
        if (options_.isForced || !isFolder(target) || isMarked(target))
            return;
        throw Failure(QStringLiteral("cannot delete in '%1': create the file '%2' there to allow "
                                     "it, or use --force")
                          .arg(options_.target, QLatin1String(deletionMarker)));
    }

    static bool isMarked(QString const & target)
    {
        auto const marker = nativeName(target + QLatin1String(deletionMarker));
        return static_cast<bool>(platform::fileStatus(marker));
    }

    /// Throws Failure in two cases:
    /// - SOURCE contains TARGET, with --recursive. Each run would copy the previous run's copies.
    /// - TARGET contains SOURCE, with --delete. The command would delete SOURCE.
    void requireSeparate() const
    {
        auto const whole = [](QString const & path) {
            QString const canonical = QFileInfo(path).canonicalFilePath(); // resolves links
            return QDir::fromNativeSeparators(canonical.isEmpty() ? fullPath(path) : canonical) +
                   QLatin1Char('/');
        };
        QString const source = whole(options_.source);
        QString const target = whole(options_.target);
        auto const contains = [](QString const & folder, QString const & other) {
            return other.size() > folder.size() &&
                   other.startsWith(folder, platform::ownSeparator == '/' ? Qt::CaseSensitive
                                                                          : Qt::CaseInsensitive);
        };
        if ((options_.deletes && contains(target, source)) ||
            (options_.selection.isRecursive && contains(source, target)))
            throw Failure(QStringLiteral("neither SOURCE nor TARGET may contain the other"),
                          WrongUse);
    }

    void addFolders(QString const & source, QString const & target)
    {
        QString const fullSource = fullPath(source);
        QString const fullTarget = fullPath(target);
        for (FolderContent const & content : listFolders(source, options_.selection, jobs_)) {
            QString const & below = content.path;
            if (content.failure.code != 0)
                failToRead(source + below, content.failure);
            if (!options_.selection.isRecursive)
                skipped_ += static_cast<int>(content.subfolders.size());
            sourceNames_.addFolder(below, content.isLink);
            if (content.isLink) {
                ++skipped_;
                continue;
            }
            for (QString const & name : content.files)
                sourceNames_.addFile(below + name);
            folders_.push_back({fullTarget + below});
            for (QString const & name : content.files) {
                // A copied marker would allow --delete in TARGET, which only the user may allow.
                if (below.isEmpty() && name == QLatin1String(deletionMarker))
                    continue;
                addFile(fullSource + below + name, fullTarget + below + name,
                        target + below + name);
                // The previous version is renamed to NAME_old. If the source also has a file
                // NAME_old, the previous version must not overwrite the copy of that file.
                items_.back().update.keepsPrevious = !std::binary_search(
                    content.files.begin(), content.files.end(), name + QLatin1String("_old"));
            }
        }
    }

    void addFile(QString const & source, QString const & target, QString const & shownTarget)
    {
        Item item;
        item.folder = folders_.size() - 1;
        ++folders_.back().fileCount;
        item.update.source = source;
        item.update.target = target;
        item.update.shownTarget = shownTarget;
        item.update.comparesContent = options_.comparesContent;
        item.update.pauseMs = options_.pauseMs;
        items_.push_back(std::move(item));
    }

    void comparePass()
    {
        std::atomic<qint64> done = 0;
        auto const all = static_cast<qint64>(items_.size());
        Progress const progress(QStringLiteral("Comparing %1").arg(options_.source), [&] {
            return Progress::Amount{done, all, 0, 0};
        });
        auto const noFinish = [](std::size_t) { return true; };
        auto const findFolder = [this](std::size_t i) {
            Folder & folder = folders_[i];
            folder.exists = mayExist(folder.path);
            folder.isEmpty = !folder.exists ||
                             (folder.fileCount >= filesWorthAListing && isEmptyFolder(folder.path));
        };
        runJobs(jobs_, folders_.size(), findFolder, noFinish);
        auto const compareItem = [&](std::size_t i) {
            Item & item = items_[i];
            attempt(item, [&] { compare(item, options_, folders_[item.folder].isEmpty); });
            ++done;
        };
        runJobs(jobs_, items_.size(), compareItem, noFinish);
    }

    /// Returns true if a folder exists or its status is not readable. A folder whose status is not
    /// readable may contain previous files.
    static bool mayExist(QString const & path)
    {
        using platform::NameKind;
        NameKind const kind = platform::kindOf(nativeName(path));
        return kind == NameKind::Folder ||
               (kind == NameKind::None &&
                platform::lastError().kind() != platform::ErrorKind::NotFound);
    }

    /// Returns whether a folder contains nothing. Returns false if it cannot be read.
    static bool isEmptyFolder(QString const & path)
    {
        platform::FolderWalk walk(nativeName(path) + nativeName(QStringLiteral("*")));
        return walk.open() && !walk.next() && walk.error() == 0;
    }

    static bool isFolder(QString const & path)
    {
        return platform::kindOf(nativeName(path)) == platform::NameKind::Folder;
    }

    /// Creates the missing folders of the target. The parent folder of the target must exist.
    void createFolders()
    {
        bool const isEmpty = items_.empty() && folders_.size() == 1;
        QString failed;
        for (Folder & folder : folders_) {
            if (folder.exists || isEmpty)
                continue;
            bool const isBelowFailed = !failed.isEmpty() && folder.path.startsWith(failed);
            folder.isUsable = !isBelowFailed && createFolder(folder.path);
            if (!folder.isUsable && !isBelowFailed)
                failed = folder.path;
        }
    }

    bool createFolder(QString const & folder)
    {
        auto const created = platform::createFolderForEverybody(nativeName(folder));
        if (created || isFolder(folder)) // another process may have created it meanwhile
            return true;
        fail(
            QStringLiteral("cannot create folder '%1': %2").arg(folder, reasonOf(created.error())));
        return false;
    }

    void copyPass()
    {
        Transfer transfer;
        auto const isCopied = [&](Item const & item) {
            return item.state == State::Due && folders_[item.folder].isUsable && !options_.dryRun;
        };
        for (Item const & item : items_) {
            if (isCopied(item))
                transfer.expect(item.update.sourceStatus.size);
        }
        Progress progress(QStringLiteral("Synchronising %1").arg(options_.target),
                          [&transfer] { return transfer.amount(); });
        auto const work = [&](std::size_t i) {
            Item & item = items_[i];
            if (isCopied(item))
                attempt(item, [&] { copy(item, options_, transfer); });
        };
        runJobs(jobs_, items_.size(), work, [&](std::size_t i) {
            if (folders_[items_[i].folder].isUsable)
                progress.interrupt([&] { show(items_[i]); });
            return true;
        });
    }

    /// Flushes each changed folder once, so that the renames survive a power failure. A failure is
    /// not reported, since some shares do not support the flush.
    void flushFolders()
    {
        std::vector<std::size_t> changed;
        for (Item const & item : items_) {
            if (item.state == State::Copied && (changed.empty() || changed.back() != item.folder))
                changed.push_back(item.folder);
        }
        runJobs(
            jobs_, changed.size(),
            [&](std::size_t i) {
                auto const folder = nativeName(folders_[changed[i]].path);
                static_cast<void>(platform::flushFolder(folder));
            },
            [](std::size_t) { return true; });
    }

    /// Deletes files and folders of the target that the source does not have. After a failure, such
    /// as an unreadable folder of the source, nothing is deleted.
    void deletePass()
    {
        QString const target = withSeparator(options_.target);
        if (!isFolder(target))
            return;
        if (!failures_.isEmpty())
            return warn(QStringLiteral("nothing was deleted, because of failures"));
        // The marker is tested a second time, since the share of TARGET may have been mounted after
        // the first test.
        if (!options_.isForced && !isMarked(target))
            return;
        if (!options_.isForced && items_.empty())
            return fail(QStringLiteral("nothing was deleted: SOURCE has no file to copy; use "
                                       "--force if it is meant to be empty"));
        platform::FolderTree tree;
        auto const opened = tree.open(nativeName(target));
        auto entries = opened ? tree.entries() : opened.error();
        if (!entries)
            return fail(
                QStringLiteral("cannot delete in '%1': %2").arg(target, reasonOf(entries.error())));
        _oxEmptyFolderOptions deletion;
        deletion.recursive = options_.selection.isRecursive;
        deletion.isDryRun = options_.dryRun;
        deletion.report = [&](QString const & path, QString const & failure) {
            showDeletion(path, failure);
        };
        auto const keep = [&](QString const & path, bool isFolder) {
            return sourceNames_.ruleFor(path.mid(target.size()), isFolder, options_.selection);
        };
        static_cast<void>(
            deleteInParallel(tree, target, std::move(*entries), deletion, keep, jobs_));
    }

    void showDeletion(QString const & path, QString const & failure)
    {
        if (!failure.isEmpty()) {
            auto const reason = failure.lastIndexOf(path + QLatin1String(", "));
            return fail(QStringLiteral("cannot delete '%1': %2")
                            .arg(path, reasonIn(failure.mid(reason + path.size() + 2))));
        }
        ++deleted_;
        report_.line(options_.dryRun ? QStringLiteral("to delete") : QStringLiteral("deleted"),
                     path);
        report_.append({{QStringLiteral("file"), path},
                        {QStringLiteral("action"), QStringLiteral("deleted")}});
    }

    void show(Item const & item)
    {
        QString const & target = item.update.shownTarget;
        for (QString const & warning : item.warnings)
            warn(warning);
        switch (item.state) {
        case State::UpToDate:
            ++upToDate_;
            if (options_.verbose)
                showFile("up to date", "upToDate", item);
            break;
        case State::Due:
        case State::Copied:
            ++copied_;
            bytes_ += item.update.sourceStatus.size;
            showFile(options_.dryRun ? "to copy" : "copied", "copied", item);
            break;
        case State::Failed:
            fail(QStringLiteral("cannot update '%1': %2").arg(target, item.failure));
            report_.append({{QStringLiteral("file"), target},
                            {QStringLiteral("action"), QStringLiteral("failed")},
                            {QStringLiteral("error"), item.failure}});
        }
    }

    void showFile(char const * label, char const * action, Item const & item)
    {
        QString const & target = item.update.shownTarget;
        platform::FileStatus const & status = item.update.sourceStatus;
        report_.line(QLatin1String(label), target);
        report_.append({{QStringLiteral("file"), target},
                        {QStringLiteral("action"), QLatin1String(action)},
                        {QStringLiteral("size"), static_cast<qint64>(status.size)},
                        {QStringLiteral("modified"), jsonTime(status.modified)}});
    }

    void finish()
    {
        report_.set(QStringLiteral("dryRun"), options_.dryRun);
        report_.set(QStringLiteral("bytes"), bytes_);
        report_.set(QStringLiteral("counts"),
                    QJsonObject{{QStringLiteral("copied"), copied_},
                                {QStringLiteral("upToDate"), upToDate_},
                                {QStringLiteral("deleted"), deleted_},
                                {QStringLiteral("failed"), failures_.size()},
                                {QStringLiteral("skippedFolders"), skipped_}});
        report_.set(QStringLiteral("warnings"), warnings_);
        QString const counts =
            QStringLiteral("%1 %2, %3 up to date, %4 failed")
                .arg(copied_)
                .arg(options_.dryRun ? QStringLiteral("to copy") : QStringLiteral("copied"))
                .arg(upToDate_)
                .arg(failures_.size());
        report_.line(options_.dryRun ? QStringLiteral("dry run") : QStringLiteral("done"),
                     counts + deletedText() + foldersText());
        if (!failures_.isEmpty())
            throw Failure::reported(failures_, status_);
    }

    QString deletedText() const
    {
        return options_.deletes ? QStringLiteral(", %1 deleted").arg(deleted_) : QString();
    }

    QString foldersText() const
    {
        return skipped_ > 0 ? QStringLiteral(", folders skipped: %1").arg(skipped_) : QString();
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
    int const jobs_;
    std::vector<Folder> folders_;
    std::vector<Item> items_;
    SourceNames sourceNames_;
    int copied_ = 0;
    int upToDate_ = 0;
    int deleted_ = 0;
    int skipped_ = 0;
    qint64 bytes_ = 0;
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
            "kept as FILE_old. A missing target folder is created if its parent folder exists.",
        .options = {{.name = "SOURCE",
                     .help = "Source file, or folder of source files",
                     .target = &options->source,
                     .isRequired = true},
                    {.name = "TARGET",
                     .help = "Target file or folder",
                     .target = &options->target,
                     .isRequired = true},
                    {.name = "--recursive",
                     .letter = 'r',
                     .help = "Copy subfolders as well; links to folders are skipped",
                     .target = &options->selection.isRecursive},
                    {.name = "--dry-run",
                     .letter = 'n',
                     .help = "Change nothing; only list the files",
                     .target = &options->dryRun},
                    {.name = "--ends",
                     .valueName = "ENDING",
                     .help = "Copy only files with this ending, in any letter case",
                     .target = &options->selection.endings},
                    {.name = "--exclude",
                     .valueName = "PATTERN",
                     .help = "Skip files and folders whose name or path matches PATTERN, such as "
                             "*.tmp or cache/*",
                     .target = &options->selection.excluded},
                    {.name = "--delete",
                     .help =
                         "Delete files of TARGET that SOURCE does not have; TARGET must contain "
                         "the file .oxtool-sync",
                     .target = &options->deletes},
                    {.name = "--force",
                     .help = "Delete even if TARGET lacks the file .oxtool-sync",
                     .target = &options->isForced,
                     .needs = "--delete"},
                    {.name = "--checksum",
                     .help = "Compare the content instead of the time",
                     .target = &options->comparesContent},
                    jobsOption(options->jobs),
                    pauseOption(options->pauseMs),
                    {.name = "--retry-exe",
                     .help = "If a copied .exe ends in zeros, wait 5 s, and copy it again if the "
                             "source has changed; requires --pause",
                     .target = &options->retry},
                    {.name = "--verbose",
                     .letter = 'v',
                     .help = "List up-to-date files as well",
                     .target = &options->verbose},
                    jsonOption(options->json)},
        .examples = {"oxtool sync /mnt/share/bin /opt/farm/bin --pause 50ms --retry-exe",
                     "oxtool sync -r /mnt/share/textures /var/cache/textures --exclude '*.tmp'"},
        .run = reporting(
            options, [](Options const & given, Report & report) { Sync(given, report).run(); })};
}

} // namespace ox::tool
