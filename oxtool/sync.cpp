#include "oxtool/commands.h"
#include "oxtool/failure.h"
#include "oxtool/names.h"
#include "oxtool/progress.h"
#include "oxtool/report.h"
#include "oxtool/stop.h"
#include "shared/fs/dir_listing.h"
#include "shared/fs/file.h"
#include "shared/fs/file_sync.h"
#include "shared/platform/files.h"
#include "shared/system/os_error.h"

#include <QJsonArray>
#include <QStringList>

namespace ox::tool
{
namespace
{

struct Options {
    std::string source;
    std::string target;
    std::vector<std::string> endings;
    int pauseMs = -1;
    bool retry = false;
    bool verbose = false;
    bool json = false;
};

/// A stop in the middle of a copy takes the incomplete file away: a later run would keep it as the
/// former one, in place of the true former one.
class UnfinishedCopy
{
  public:
    UnfinishedCopy(QString const & source, QString const & target)
        : source_(source), target_(target), before_(statusOf(target))
    {
        holding_.take([] { return true; }, [this] { removeIncomplete(); },
                      [this] { return QStringLiteral("stopped. ") + whatIsLeft(); });
    }

    void finish()
    {
        holding_.finish([] { return true; });
    }

  private:
    struct Status {
        qint64 size = -1; // there is no such file
        qint64 modified = 0;
        bool operator==(Status const &) const = default;
    };

    static Status statusOf(QString const & path)
    {
        auto const status = platform::fileStatus(nativeName(path));
        return status && !status->isFolder ? Status{status->size, status->modified} : Status();
    }

    bool isIncomplete() const
    {
        Status const now = statusOf(target_);
        return now.size >= 0 && now != before_ && now != statusOf(source_);
    }

    void removeIncomplete() const
    {
        if (isIncomplete())
            platform::deleteFile(nativeName(target_));
    }

    QString whatIsLeft() const
    {
        if (statusOf(target_).size < 0)
            return (before_.size < 0 ? QStringLiteral("There is no %1.")
                                     : QStringLiteral("There is no %1; the former one is %1_old."))
                .arg(target_);
        return (isIncomplete() ? QStringLiteral("%1 is incomplete.")
                               : QStringLiteral("%1 is whole."))
            .arg(target_);
    }

    QString const source_;
    QString const target_;
    Status const before_;
    Holding holding_;
};

class Sync
{
  public:
    Sync(Options const & options, Report & report) : options_(options), report_(report) {}

    void run()
    {
        QString const source = fromArgument(options_.source);
        QString const target = fromArgument(options_.target);
        if (oxDirectoryExists(source))
            runFolder(asFolder(source), asFolder(target));
        else
            runFile(source, target);
        report_.set(QStringLiteral("copied"), copied_);
        report_.set(QStringLiteral("upToDate"), upToDate_);
        report_.set(QStringLiteral("failed"), failed_);
        report_.set(QStringLiteral("warnings"), warnings_);
        report_.line(QStringLiteral("done"), QStringLiteral("%1 copied, %2 up to date, %3 failed")
                                                 .arg(copied_)
                                                 .arg(upToDate_)
                                                 .arg(failed_));
        if (failed_ > 0)
            throw Failure(failures_.join(u'\n'));
    }

  private:
    using Text = _oxString8_evenSize<500>;

    static QString asFolder(QString const & path)
    {
        QChar const separator = QLatin1Char(platform::ownSeparator);
        return path.endsWith(separator) ? path : path + separator;
    }

    void runFolder(QString const & source, QString const & target)
    {
        oxDirListing files;
        for (std::string const & ending : options_.endings)
            files.addEndsWithFilter(fromArgument(ending));
        files.init(source, false, true, true, false);
        while (files.nextFile())
            runFile(files.dirFileName(), target + files.fileName());
        if (files.error() != 0)
            fail(QStringLiteral("%1 cannot be read. %2")
                     .arg(shownName(source), QString(oxLastOSError(files.error()))));
    }

    void runFile(QString const & source, QString const & target)
    try {
        Text errors;
        Text info;
        UnfinishedCopy copy(source, target);
        Progress const progress(QStringLiteral("Synchronising %1").arg(target));
        bool const succeeded = syncCopy(recordName(source), recordName(target), options_.retry,
                                        &errors, &info, options_.pauseMs, false);
        copy.finish();
        if (!succeeded) {
            fail(fromRecord(errors));
            return;
        }
        if (!errors.isEmpty())
            warn(fromRecord(errors));
        ++(info.isEmpty() ? upToDate_ : copied_);
        if (!info.isEmpty() || options_.verbose)
            report_.line(info.isEmpty() ? QStringLiteral("up to date") : QStringLiteral("copied"),
                         target);
    } catch (Failure const & failure) {
        fail(failure.text());
    }

    void fail(QString const & text)
    {
        ++failed_;
        failures_.append(text);
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
    int failed_ = 0;
    QStringList failures_;
    QJsonArray warnings_;
};

} // namespace

void addSync(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command = *program.add_subcommand(
        "sync", "Bring a file, or the files of a folder, up to date with the master copies");
    command.footer(
        "A file is copied when it is missing or differs in size or time; the one that it\n"
        "replaces stays beside it as FILE_old. One missing folder level is created.\n"
        "Example:\n"
        "  oxtool sync /mnt/share/bin /opt/farm/bin --retry-exe");
    command.add_option("SOURCE", options->source, "The master copy, or the folder of them")
        ->required();
    command.add_option("TARGET", options->target, "The file or folder to bring up to date")
        ->required();
    command.add_option("--ends", options->endings, "Of a folder, only the files that end so")
        ->type_name("ENDING")
        ->type_size(1)
        ->allow_extra_args(false);
    command
        .add_option("--pause", options->pauseMs,
                    "Copy in pieces of 1 MiB and sleep so long after each, to spare the share")
        ->type_name("MS")
        ->check(atLeast(0));
    command.add_flag("--retry-exe", options->retry,
                     "Copy an .exe that was still being written again, 5 seconds later");
    command.add_flag("--verbose", options->verbose, "Name the files that are up to date, too");
    addJson(command, options->json);
    command.callback([options, &run] {
        run = reporting(options,
                        [](Options const & given, Report & report) { Sync(given, report).run(); });
    });
}

} // namespace ox::tool
