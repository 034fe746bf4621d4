#include "oxtool/commands/commands.h"
#include "oxtool/support/deletion.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/jobs.h"
#include "oxtool/support/name_patterns.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "oxtool/support/stop.h"
#include "shared/platform/files.h"
#include "shared/platform/folders.h"

#include <QJsonArray>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <optional>
#include <system_error>

namespace ox::tool
{
namespace
{

struct Options {
    QString folder;
    std::vector<QString> kept; ///< patterns of matchesAny()
    std::optional<std::chrono::milliseconds> minAge;
    int jobs = 0;
    bool recursive = false;
    bool dryRun = false;
    bool json = false;
};

/// Empties a folder and reports each entry.
class Emptying
{
  public:
    Emptying(Options const & options, Report & report)
        : options_(options), report_(report), folder_(options.folder),
          path_(folder_.endsWith(QLatin1Char(platform::ownSeparator))
                    ? folder_
                    : folder_ + QLatin1Char(platform::ownSeparator))
    {
    }

    void run()
    {
        // The deletion runs on another thread. After a stop request the tool can therefore wait
        // until the deletion has ended, and report the exact number of deleted entries.
        std::shared_future<_oxEmptyFolderResult> pass;
        bool hasEnded = true;
        StopGuard guard;
        guard.acquire(
            [&] {
                pass = start();
                return true;
            },
            [&] {
                stopped_ = true;
                // A share that does not respond must not delay the end of the program.
                hasEnded = pass.wait_for(std::chrono::seconds(5)) != std::future_status::timeout;
            },
            [&] {
                return hasEnded ? QStringLiteral("stopped: ") + summary(pass.get())
                                : QStringLiteral("stopped during the deletion of an entry");
            });
        pass.wait();
        guard.release();
        showResult(pass.get());
    }

  private:
    /// Starts the deletion on another thread. If no thread can be created, the deletion runs on the
    /// thread that first waits for the result.
    std::shared_future<_oxEmptyFolderResult> start()
    {
        try {
            return std::async(std::launch::async, [this] { return empty(); });
        } catch (std::system_error const &) {
            return std::async(std::launch::deferred, [this] { return empty(); });
        }
    }

    _oxEmptyFolderResult empty()
    {
        platform::FolderTree tree;
        if (auto const opened = tree.open(nativeName(folder_)); !opened)
            return refused(reasonOf(opened.error()));
        if (tree.isRoot())
            return refused(QStringLiteral("it is the root of a drive or share"));
        auto entries = tree.entries();
        if (!entries)
            return refused(reasonOf(entries.error()));

        _oxEmptyFolderOptions options;
        options.recursive = options_.recursive;
        if (options_.minAge)
            options.minAge =
                static_cast<int>(std::chrono::ceil<std::chrono::seconds>(*options_.minAge).count());
        options.isDryRun = options_.dryRun;
        options.stop = [this] { return stopped_.load(); };
        options.report = [this](QString const & path, QString const & failure) {
            showEntry(path, failure);
        };
        auto const keep = [this](QString const & path, bool) {
            bool const isKept = matchesAny(path.mid(path_.size()), options_.kept);
            return isKept ? fs::Keep::All : fs::Keep::Nothing;
        };
        return deleteInParallel(tree, path_, std::move(*entries), options, keep,
                                threadCount(options_.jobs));
    }

    _oxEmptyFolderResult refused(QString const & reason)
    {
        addFailure(folder_, QStringLiteral("cannot empty '%1': %2").arg(folder_, reason));
        _oxEmptyFolderResult result;
        result.failures = 1;
        return result;
    }

    void showEntry(QString const & path, QString const & failure)
    {
        if (failure.isEmpty())
            return addEntry(path);
        // `failure` has the form "SENTENCE PATH, REASON".
        QString const reason =
            failure.mid(failure.indexOf(path + QLatin1String(", ")) + path.size() + 2);
        addFailure(path, QStringLiteral("cannot delete '%1': %2").arg(path, reasonIn(reason)));
    }

    void addEntry(QString const & path)
    {
        if (options_.json)
            files_.append(QJsonObject{{QStringLiteral("file"), path},
                                      {QStringLiteral("action"), QStringLiteral("deleted")}});
        else
            report_.line(entryLabel(), path);
    }

    void addFailure(QString const & path, QString const & text)
    {
        if (options_.json)
            files_.append(QJsonObject{{QStringLiteral("file"), path},
                                      {QStringLiteral("action"), QStringLiteral("failed")},
                                      {QStringLiteral("error"), text}});
        else
            writeError(text);
    }

    QString entryLabel() const
    {
        return options_.dryRun ? QStringLiteral("to delete") : QStringLiteral("deleted");
    }

    QString summary(_oxEmptyFolderResult const & result) const
    {
        QString const failures =
            result.failures > 0 ? QStringLiteral(", %1 failed").arg(result.failures) : QString();
        return QStringLiteral("%1 %2, %3")
            .arg(QString::number(result.count), entryLabel(), sizeText(result.bytes) + failures);
    }

    void showResult(_oxEmptyFolderResult const & result) const
    {
        report_.set(QStringLiteral("folder"), folder_);
        report_.set(QStringLiteral("dryRun"), options_.dryRun);
        report_.set(QStringLiteral("files"), files_);
        report_.set(QStringLiteral("counts"),
                    QJsonObject{{QStringLiteral("deleted"), static_cast<qint64>(result.count)},
                                {QStringLiteral("failed"), static_cast<qint64>(result.failures)}});
        report_.set(QStringLiteral("bytes"), static_cast<qint64>(result.bytes));
        if (!result.done || result.failures > 0)
            throw Failure(QStringLiteral("cannot delete some entries of '%1': %2")
                              .arg(folder_, summary(result)),
                          exitStatus());
        report_.line(options_.dryRun ? QStringLiteral("dry run") : QStringLiteral("done"),
                     summary(result));
    }

    int exitStatus() const
    {
        auto const folder = platform::fileStatus(nativeName(folder_));
        return folder ? Failed : statusOf(folder.error());
    }

    Options const & options_;
    Report & report_;
    QString const folder_;
    QString const path_; ///< path of the folder with a separator at its end
    std::atomic<bool> stopped_ = false;
    QJsonArray files_;
};

} // namespace

Command emptyCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "empty",
            .group = Group::Files,
            .summary = "Delete the content of a folder",
            .details = "The folder itself stays. Links are deleted, not followed.",
            .options = {{.name = "FOLDER",
                         .help = "Folder to empty",
                         .target = &options->folder,
                         .isRequired = true},
                        {.name = "--recursive",
                         .letter = 'r',
                         .help = "Delete subfolders as well",
                         .target = &options->recursive},
                        {.name = "--older-than",
                         .valueName = "AGE",
                         .help = "Delete only entries not changed in the last AGE",
                         .target = Age{&options->minAge}},
                        {.name = "--keep",
                         .valueName = "PATTERN",
                         .help = "Keep entries whose name or path matches: *.log, job17/*",
                         .target = &options->kept},
                        {.name = "--dry-run",
                         .letter = 'n',
                         .help = "Delete nothing; only list the entries",
                         .target = &options->dryRun},
                        jobsOption(options->jobs),
                        jsonOption(options->json)},
            .examples = {"oxtool empty /mnt/share/temp --recursive --dry-run",
                         "oxtool empty /mnt/share/temp -r --older-than 7d --keep '*.log'"},
            .run = reporting(options, [](Options const & given, Report & report) {
                Emptying(given, report).run();
            })};
}

} // namespace ox::tool
