#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "oxtool/support/stop.h"
#include "shared/fs/empty_folder.h"
#include "shared/platform/files.h"

#include <QJsonArray>

#include <atomic>
#include <future>
#include <system_error>

namespace ox::tool
{
namespace
{

struct Options {
    QString folder;
    bool recursive = false;
    bool dryRun = false;
    bool json = false;
};

/// Empties a folder and reports each entry.
class Emptying
{
  public:
    Emptying(Options const & options, Report & report)
        : options_(options), report_(report), folder_(options.folder)
    {
    }

    void run()
    {
        // The pass runs on another thread, so that a stop request can wait for its end and report
        // the exact number of deleted entries.
        std::shared_future<_oxEmptyFolderResult> pass;
        StopGuard guard;
        guard.acquire(
            [&] {
                pass = start();
                return true;
            },
            [&] {
                stopped_ = true;
                pass.wait();
            },
            [&] { return QStringLiteral("stopped: ") + summary(pass.get()); });
        pass.wait();
        guard.release();
        showResult(pass.get());
    }

  private:
    /// Starts the pass on another thread. If no thread can be created, the first wait runs it.
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
        _oxEmptyFolderOptions options;
        options.recursive = options_.recursive;
        options.isDryRun = options_.dryRun;
        options.stop = [this] { return stopped_.load(); };
        options.report = [this](QString const & path, QString const & failure) {
            if (failure.isEmpty())
                addEntry(path);
            else
                addFailure(path, failure);
        };
        return oxEmptyFolder(folder_, options);
    }

    void addEntry(QString const & path)
    {
        if (options_.json)
            entries_.append(path);
        else
            report_.line(entryLabel(), path);
    }

    /// The library's text consists of a sentence, the path and the reason.
    void addFailure(QString const & path, QString const & failure)
    {
        QString const reason =
            failure.mid(failure.indexOf(path + QLatin1String(", ")) + path.size() + 2);
        QString const text = (path == folder_ ? QStringLiteral("cannot empty '%1': %2")
                                              : QStringLiteral("cannot delete '%1': %2"))
                                 .arg(path, reasonIn(reason));
        if (options_.json)
            failures_.append(text);
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
        report_.set(QStringLiteral("entries"), entries_);
        report_.set(QStringLiteral("failures"), failures_);
        report_.set(QStringLiteral("bytes"), static_cast<qint64>(result.bytes));
        if (!result.done || result.failures > 0)
            throw Failure(QStringLiteral("cannot delete every entry of '%1': %2")
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
    std::atomic<bool> stopped_ = false;
    QJsonArray entries_;
    QJsonArray failures_;
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
                        {.name = "--dry-run",
                         .letter = 'n',
                         .help = "Delete nothing; only list the entries",
                         .target = &options->dryRun},
                        jsonOption(options->json)},
            .examples = {"oxtool empty /mnt/share/temp --recursive --dry-run"},
            .run = reporting(options, [](Options const & given, Report & report) {
                Emptying(given, report).run();
            })};
}

} // namespace ox::tool
