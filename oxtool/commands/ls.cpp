#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/folder_list.h"
#include "oxtool/support/jobs.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/fs/dir_listing.h"
#include "shared/platform/clock.h"
#include "shared/platform/files.h"
#include "shared/platform/folders.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <optional>
#include <tuple>
#include <utility>

namespace ox::tool
{
namespace
{

struct Options {
    QString folder;
    FolderSelection selection;
    std::string sort;
    std::optional<std::chrono::milliseconds> newer;
    int jobs = 0;
    bool folders = false;
    bool human = false;
    bool total = false;
    bool json = false;
};

struct Entry {
    QString name; ///< path relative to the listed folder
    QString path;
    bool isFolder = false;
    bool hasStatus = false;
    qint64 size = 0;
    qint64 modified = 0;
};

/// Reads size and time of an entry. As in the library's listing, a link without a target has the
/// size and the time of the link itself.
void readStatus(Entry & entry)
{
    auto const status = platform::fileStatus(nativeName(entry.path));
    if (status) {
        entry.size = status->isFolder ? 0 : status->size;
        entry.modified = status->modified;
        return;
    }
    platform::FolderWalk walk(nativeName(entry.path));
    if (walk.next()) {
        entry.size = walk.size();
        entry.modified = walk.modified();
    }
}

/// Returns a size with a binary unit: "1.5 GiB".
QString humanSize(qint64 bytes)
{
    if (bytes < 1024)
        return QStringLiteral("%1 B").arg(bytes);
    auto size = static_cast<double>(bytes);
    char const * unit = "";
    for (char const * const next : {"KiB", "MiB", "GiB", "TiB"}) {
        if (size < 1000)
            break;
        size /= 1024;
        unit = next;
    }
    return QStringLiteral("%1 %2").arg(size, 0, 'f', 1).arg(QLatin1String(unit));
}

/// Lists entries in portions. A long listing therefore needs little memory, unless it is sorted.
class Listing
{
  public:
    Listing(Options const & options, Report & report)
        : options_(options), report_(report), jobs_(threadCount(options.jobs)),
          now_(platform::currentTime())
    {
    }

    void run()
    {
        if (options_.folder.isEmpty())
            throw Failure(QStringLiteral("cannot list folder '': the name is empty"), Missing);
        if (options_.selection.isRecursive && options_.folder.endsWith(u'*'))
            throw Failure(QStringLiteral("--recursive needs a folder, not a pattern"), WrongUse);
        report_.set(QStringLiteral("folder"), options_.folder);
        report_.beginArray(QStringLiteral("entries"));
        if (options_.selection.isRecursive)
            listTree();
        else
            listOne();
        if (!options_.sort.empty())
            showSorted();
        showTotal();
        if (!failures_.isEmpty())
            throw Failure::reported(failures_, status_);
    }

  private:
    void listOne()
    {
        constexpr std::size_t portionSize = 4096;
        oxDirListing listing;
        for (QString const & ending : options_.selection.endings)
            listing.addEndsWithFilter(ending);
        listing.init(options_.folder, options_.folders, false, false, false);
        std::vector<Entry> portion;
        while (!isOutputLost() && listing.nextFile()) {
            Entry & entry = portion.emplace_back(
                Entry{listing.fileName(), listing.dirFileName(), listing.isDir()});
            entry.hasStatus = platform::FolderWalk::hasStatus;
            if (entry.hasStatus) {
                entry.size = listing.fileSize();
                entry.modified = listing.fileTime().value;
            }
            if (portion.size() == portionSize)
                process(std::exchange(portion, {}));
        }
        process(std::move(portion));
        if (listing.error() != 0)
            fail(options_.folder, platform::Error{listing.error()});
    }

    void listTree()
    {
        QChar const separator = QLatin1Char(platform::ownSeparator);
        QString const root =
            options_.folder.endsWith(separator) ? options_.folder : options_.folder + separator;
        for (FolderContent const & folder : listFolders(root, options_.selection, jobs_)) {
            if (folder.failure.code != 0)
                fail(folder.path.isEmpty() ? options_.folder : root + folder.path, folder.failure);
            std::vector<Entry> portion;
            auto const add = [&](QStringList const & names, bool isFolder) {
                for (QString const & name : names)
                    portion.push_back({folder.path + name, root + folder.path + name, isFolder});
            };
            add(folder.files, false);
            if (options_.folders)
                add(folder.subfolders, true);
            process(std::move(portion));
        }
    }

    /// Reads the status of entries in parallel, and shows the entries in their order.
    void process(std::vector<Entry> entries)
    {
        constexpr std::size_t groupSize = 16;
        auto const forEach = [&](std::size_t group, auto const & use) {
            std::size_t const end = std::min(entries.size(), (group + 1) * groupSize);
            std::for_each(entries.begin() + static_cast<std::ptrdiff_t>(group * groupSize),
                          entries.begin() + static_cast<std::ptrdiff_t>(end), use);
        };
        auto const work = [&](std::size_t group) {
            forEach(group, [](Entry & entry) {
                if (!entry.hasStatus)
                    readStatus(entry);
            });
        };
        runJobs(jobs_, (entries.size() + groupSize - 1) / groupSize, work, [&](std::size_t group) {
            forEach(group, [this](Entry & entry) { accept(entry); });
            return !isOutputLost();
        });
    }

    void accept(Entry & entry)
    {
        bool const isOld = options_.newer && !entry.isFolder &&
                           (now_ - entry.modified) * 1000 > options_.newer->count();
        if (isOld)
            return;
        if (options_.sort.empty())
            show(entry);
        else
            sorted_.push_back(std::move(entry));
    }

    void showSorted()
    {
        // Size and time are sorted in descending order, since users look for large and new files.
        auto const key = [this](Entry const & entry) {
            return options_.sort == "size"   ? -entry.size
                   : options_.sort == "time" ? -entry.modified
                                             : 0;
        };
        std::sort(sorted_.begin(), sorted_.end(), [&](Entry const & one, Entry const & other) {
            return std::make_tuple(key(one), std::cref(one.name)) <
                   std::make_tuple(key(other), std::cref(other.name));
        });
        for (Entry const & entry : sorted_) {
            if (isOutputLost())
                break;
            show(entry);
        }
    }

    void show(Entry const & entry)
    {
        ++(entry.isFolder ? folders_ : files_);
        bytes_ += entry.size;
        if (options_.json)
            report_.append({{QStringLiteral("name"), entry.name},
                            {QStringLiteral("isFolder"), entry.isFolder},
                            {QStringLiteral("size"), entry.size},
                            {QStringLiteral("modified"), jsonTime(entry.modified)}});
        else
            report_.text(lineOf(entry));
    }

    QString lineOf(Entry const & entry) const
    {
        QString const size = entry.isFolder   ? QString()
                             : options_.human ? humanSize(entry.size)
                                              : QString::number(entry.size);
        return QStringLiteral("%1  %2  %3")
            .arg(size.rightJustified(15), timeText(entry.modified),
                 entry.name + QLatin1String(entry.isFolder ? "/" : ""));
    }

    void showTotal()
    {
        report_.set(QStringLiteral("counts"), QJsonObject{{QStringLiteral("files"), files_},
                                                          {QStringLiteral("folders"), folders_}});
        report_.set(QStringLiteral("bytes"), bytes_);
        if (!options_.total)
            return;
        QString const folders =
            options_.folders ? QStringLiteral(", %1 folders").arg(folders_) : QString();
        report_.line(QStringLiteral("total"),
                     QStringLiteral("%1 files%2, %3")
                         .arg(QString::number(files_), folders,
                              options_.human ? humanSize(bytes_) : sizeText(bytes_)));
    }

    void fail(QString const & folder, platform::Error error)
    {
        QString const text =
            QStringLiteral("cannot list folder '%1': %2").arg(folder, reasonOf(error));
        writeError(text);
        failures_.append(text);
        status_ = combinedStatus(status_, statusOf(error));
    }

    Options const & options_;
    Report & report_;
    int const jobs_;
    qint64 const now_;
    std::vector<Entry> sorted_;
    int files_ = 0;
    int folders_ = 0;
    qint64 bytes_ = 0;
    QStringList failures_;
    int status_ = Done; ///< exit status of the failures
};

} // namespace

Command listCommand()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "ls",
        .group = Group::Files,
        .summary = "List the files of a folder with size and time",
        .options = {{.name = "FOLDER",
                     .help = "Folder, file, or pattern that ends with *",
                     .target = &options->folder,
                     .isRequired = true},
                    {.name = "--recursive",
                     .letter = 'r',
                     .help = "List subfolders as well; links to folders are not followed",
                     .target = &options->selection.isRecursive},
                    {.name = "--ends",
                     .valueName = "ENDING",
                     .help = "List only files with this ending, in any letter case",
                     .target = &options->selection.endings},
                    {.name = "--newer",
                     .valueName = "AGE",
                     .help = "List only files that were changed in the last AGE",
                     .target = Age{&options->newer}},
                    {.name = "--sort",
                     .valueName = "KEY",
                     .help = "Sort by name, by size (largest first) or by time (newest first)",
                     .target = &options->sort,
                     .choices = {"name", "size", "time"}},
                    {.name = "--dirs", .help = "List folders as well", .target = &options->folders},
                    {.name = "--human",
                     .help = "Show sizes as KiB, MiB, GiB or TiB",
                     .target = &options->human},
                    {.name = "--total",
                     .help = "Show the number of files and their total size in the last line",
                     .target = &options->total},
                    jobsOption(options->jobs),
                    jsonOption(options->json)},
        .examples = {"oxtool ls --ends .exr --ends .tif --sort name /mnt/share/out",
                     "oxtool ls -r --human --total --newer 2h /mnt/share/out"},
        .run = reporting(
            options, [](Options const & given, Report & report) { Listing(given, report).run(); })};
}

} // namespace ox::tool
