#include "shared/fs/empty_folder.h"

#include "oxtool/commands.h"
#include "oxtool/failure.h"
#include "oxtool/names.h"
#include "oxtool/report.h"
#include "oxtool/stop.h"

#include <QJsonArray>

#include <atomic>
#include <future>

namespace ox::tool
{
namespace
{

struct Options {
    std::string folder;
    bool recursive = false;
    bool dryRun = false;
    bool json = false;
};

/// One pass over the folder, and what is said about it.
class Emptying
{
  public:
    Emptying(Options const & options, Report & report)
        : options_(options), report_(report), folder_(fromArgument(options.folder))
    {
    }

    void run()
    {
        // On a thread of its own, so that a stop request can wait until it stands still and tell
        // exactly what was deleted.
        std::shared_future<_oxEmptyFolderResult> pass;
        Holding interruption;
        interruption.take(
            [&] {
                pass = std::async(std::launch::async, [this] { return empty(); });
                return true;
            },
            [&] {
                stopped_ = true;
                pass.wait();
            },
            [&] { return QStringLiteral("stopped. ") + summary(pass.get()); });
        pass.wait();
        interruption.giveBack();
        tell(pass.get());
    }

  private:
    _oxEmptyFolderResult empty()
    {
        _oxEmptyFolderOptions how;
        how.recursive = options_.recursive;
        how.rehearse = options_.dryRun;
        how.stop = [this] { return stopped_.load(); };
        how.tell = [this](QString const & path, QString const & failure) {
            if (options_.json)
                (failure.isEmpty() ? entries_ : failures_)
                    .append(failure.isEmpty() ? path : failure);
            else if (failure.isEmpty())
                report_.line(deleted(), shownName(path));
            else
                writeError(shownName(failure));
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
            .arg(shownName(folder_), deleted(), QString::number(result.count),
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

void addEmpty(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command =
        *program.add_subcommand("empty", "Delete what is in a folder, but not the folder");
    command.footer("Links are deleted and never followed. Try --dry-run first.\n"
                   "Example:\n"
                   "  oxtool empty /mnt/share/temp --recursive --dry-run");
    command.add_option("FOLDER", options->folder, "The folder to empty")->required();
    command.add_flag("--recursive", options->recursive, "Delete folders in it, too");
    command.add_flag("--dry-run", options->dryRun, "Delete nothing, only tell what would go");
    addJson(command, options->json);
    command.callback([options, &run] {
        run = reporting(
            options, [](Options const & given, Report & report) { Emptying(given, report).run(); });
    });
}

} // namespace ox::tool
