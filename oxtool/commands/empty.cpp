#include "shared/fs/empty_folder.h"

#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/report.h"
#include "oxtool/support/stop.h"

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

/// One pass over the folder, and what is said about it.
class Emptying
{
  public:
    Emptying(Options const & options, Report & report)
        : options_(options), report_(report), folder_(options.folder)
    {
    }

    void run()
    {
        // On a thread of its own, so that a stop request can wait until it stands still and tell
        // exactly what was deleted.
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
            [&] { return QStringLiteral("stopped. ") + summary(pass.get()); });
        pass.wait();
        guard.release();
        tell(pass.get());
    }

  private:
    /// Where the system has no thread left, whoever waits for the pass first runs it.
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
        _oxEmptyFolderOptions how;
        how.recursive = options_.recursive;
        how.isDryRun = options_.dryRun;
        how.stop = [this] { return stopped_.load(); };
        how.report = [this](QString const & path, QString const & failure) {
            if (options_.json)
                (failure.isEmpty() ? entries_ : failures_)
                    .append(failure.isEmpty() ? path : failure);
            else if (failure.isEmpty())
                report_.line(deleted(), path);
            else
                writeError(failure);
        };
        return oxEmptyFolder(folder_, how);
    }

    QString deleted() const
    {
        return options_.dryRun ? QStringLiteral("would delete") : QStringLiteral("deleted");
    }

    QString summary(_oxEmptyFolderResult const & result) const
    {
        QString const failures =
            result.failures > 0 ? QStringLiteral("; %1 failed").arg(result.failures) : QString();
        return QStringLiteral("%1: %2 %3, %4")
            .arg(folder_, deleted(), QString::number(result.count),
                 sizeText(result.bytes) + failures);
    }

    void tell(_oxEmptyFolderResult const & result) const
    {
        report_.set(QStringLiteral("folder"), folder_);
        report_.set(QStringLiteral("dryRun"), options_.dryRun);
        report_.set(QStringLiteral("entries"), entries_);
        report_.set(QStringLiteral("failures"), failures_);
        report_.set(QStringLiteral("bytes"), static_cast<qint64>(result.bytes));
        if (!result.done || result.failures > 0)
            throw Failure(summary(result));
        report_.text(summary(result));
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
            .details = "The folder itself stays. Links are deleted and never followed.",
            .options = {{.name = "FOLDER",
                         .help = "Folder to empty",
                         .target = &options->folder,
                         .isRequired = true},
                        {.name = "--recursive",
                         .letter = 'r',
                         .help = "Delete the folders in it as well",
                         .target = &options->recursive},
                        {.name = "--dry-run",
                         .letter = 'n',
                         .help = "Delete nothing, list what a run deletes",
                         .target = &options->dryRun},
                        jsonOption(options->json)},
            .examples = {"oxtool empty /mnt/share/temp --recursive --dry-run"},
            .run = reporting(options, [](Options const & given, Report & report) {
                Emptying(given, report).run();
            })};
}

} // namespace ox::tool
