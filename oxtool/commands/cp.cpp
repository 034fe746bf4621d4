#include "oxtool/commands/commands.h"
#include "oxtool/commands/follow.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/jobs.h"
#include "oxtool/support/names.h"
#include "oxtool/support/output_file.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "oxtool/support/transfer.h"
#include "shared/fs/copy.h"
#include "shared/fs/copy_steps.h"
#include "shared/platform/files.h"

#include <QDir>
#include <QFileInfo>

#include <functional>
#include <optional>
#include <set>

namespace ox::tool
{
namespace
{

/// Value of `pauseMs` without --pause: the system copies the whole file at once.
constexpr int noPieces = -1;

struct Options {
    std::vector<QString> files; ///< the files to copy, then the target
    int jobs = 0;
    int pauseMs = noPieces;
    bool keep = false;
    bool json = false;
};

struct ResumeOptions {
    QString from;
    QString to;
    bool follows = false;
    FollowOptions times; ///< of --follow
    bool json = false;
};

/// Returns the size of a file; 0 if the file does not exist.
qint64 sizeOf(QString const & path)
{
    auto const status = platform::fileStatus(nativeName(path));
    return status ? status->size : 0;
}

QString nameIn(QString const & folder, QString const & file)
{
    return QDir(folder).filePath(QFileInfo(file).fileName());
}

/// Returns the path of the target file. If `to` is a folder, this is the file in `to` with the name
/// of `from`. Otherwise it is `to`.
QString targetOf(QString const & from, QString const & to)
{
    bool const isFolder = platform::kindOf(nativeName(to)) == platform::NameKind::Folder;
    return isFolder ? nameIn(to, from) : to;
}

/// Calls `copy`, shows its progress, and returns its failure text. `size` returns the current size
/// of the target; `begin` is the size of the target before the copy.
QString copyWithProgress(QString const & from, qint64 begin, Progress::Measure const & size,
                         std::function<QString()> const & copy)
{
    Progress const progress(QStringLiteral("Copying %1").arg(QFileInfo(from).fileName()),
                            sizeOf(from) - begin, [&] { return size() - begin; });
    return copy();
}

/// Copies to a temporary file, which replaces the target when the copy is complete. `copyContent`
/// fills the temporary file and returns the text of a failure, or an empty text.
template <typename CopyContent>
void copyWhole(QString const & from, QString const & to, int pauseMs,
               CopyContent const & copyContent)
{
    using Access = OutputFile::Access;
    OutputFile file(to);
    QString failure;
    int exitStatus = Failed;
    if (auto const status = platform::fileStatus(nativeName(from)); !status) {
        failure = reasonOf(status.error());
        exitStatus = statusOf(status.error());
    } else if (status->isFolder) {
        failure = QStringLiteral("it is a folder");
    } else {
        bool const bySystem = pauseMs == noPieces;
        failure = copyContent(file.create(bySystem ? Access::Owner : Access::ByMask));
    }
    if (!failure.isEmpty())
        throw Failure(QStringLiteral("cannot copy '%1' to '%2' (target %3): %4")
                          .arg(from, to, file.targetState(), reasonIn(failure)),
                      exitStatus);
    file.commit();
}

/// Copies one file with a progress line.
void copyOne(QString const & from, QString const & to, int pauseMs, bool * endsEmpty)
{
    copyWhole(from, to, pauseMs, [&](platform::NewFile & copy) {
        return copyWithProgress(
            from, 0, [&] { return copy.size().value_or(0); },
            [&] { return fs::copyWhole(nativeName(from), copy, pauseMs, endsEmpty); });
    });
}

/// A file to copy, with the result of the copy.
struct Item {
    QString from;
    QString to;
    bool isKept = false; ///< whether --keep has skipped the copy
    bool endsEmpty = false;
    qint64 size = 0;
    std::optional<Failure> failure = std::nullopt;
};

/// Copies files in parallel, and reports them in the order of the command line.
class Copying
{
  public:
    Copying(Options const & options, Report & report) : options_(options), report_(report) {}

    void run()
    {
        if (options_.files.size() < 2)
            throw Failure(QStringLiteral("missing target file or folder"), WrongUse);
        QString const to = options_.files.back();
        std::vector<QString> const sources(options_.files.begin(), options_.files.end() - 1);
        if (sources.size() > 1)
            return copyIntoFolder(sources, to);
        Item item = {sources[0], targetOf(sources[0], to)};
        copy(item,
             [&](bool * endsEmpty) { copyOne(item.from, item.to, options_.pauseMs, endsEmpty); });
        QJsonObject const members = toJson(item);
        for (QString const & name : members.keys())
            report_.set(name, members.value(name));
        showLines(item);
    }

  private:
    void copyIntoFolder(std::vector<QString> const & sources, QString const & folder)
    {
        if (platform::kindOf(nativeName(folder)) != platform::NameKind::Folder)
            throw Failure(QStringLiteral("cannot copy several files to '%1': it is not a folder")
                              .arg(folder));
        std::vector<Item> items;
        std::set<QString> targets;
        for (QString const & from : sources) {
            Item & item = items.emplace_back(Item{from, nameIn(folder, from)});
            // Two sources with the same target would be copied in parallel, in an unknown order.
            if (!targets.insert(item.to.toCaseFolded()).second)
                item.failure = Failure(QStringLiteral("cannot copy '%1' to '%2': another "
                                                      "source has the same name")
                                           .arg(from, item.to));
        }
        copyAll(items);
        if (!failures_.isEmpty())
            throw Failure::reported(failures_, status_);
    }

    void copyAll(std::vector<Item> & items)
    {
        int const jobs = threadCount(options_.jobs, options_.pauseMs != noPieces);
        Transfer transfer;
        runJobs(
            jobs, items.size(),
            [&](std::size_t i) {
                items[i].size = sizeOf(items[i].from);
                transfer.expect(items[i].size);
            },
            [](std::size_t) { return true; });
        Progress progress(QStringLiteral("Copying"), [&transfer] { return transfer.amount(); });
        report_.beginArray(QStringLiteral("files"));
        auto const work = [&](std::size_t i) { copyWithOthers(items[i], transfer); };
        auto const show = [&](std::size_t i) {
            progress.interrupt([&] { showItem(items[i]); });
            return true;
        };
        runJobs(jobs, items.size(), work, show);
    }

    void copyWithOthers(Item & item, Transfer & transfer) const
    try {
        if (item.failure)
            return;
        copy(item, [&](bool * endsEmpty) {
            copyWhole(item.from, item.to, options_.pauseMs, [&](platform::NewFile & target) {
                Transfer::File const file(transfer, target, item.size);
                return fs::copyWhole(nativeName(item.from), target, options_.pauseMs, endsEmpty);
            });
        });
    } catch (Failure const & failure) {
        item.failure = failure;
    }

    /// If --keep is given and the target exists, skips the copy. Otherwise calls `copyContent`.
    /// Sets the item's result.
    template <typename CopyContent>
    void copy(Item & item, CopyContent const & copyContent) const
    {
        item.isKept = options_.keep && platform::fileStatus(nativeName(item.to));
        if (!item.isKept)
            copyContent(&item.endsEmpty);
        item.size = sizeOf(item.to);
    }

    void showItem(Item const & item)
    {
        if (!item.failure) {
            report_.append(toJson(item));
            showLines(item);
            return;
        }
        QString const text = item.failure->text();
        writeError(text);
        failures_.append(text);
        status_ = combinedStatus(status_, item.failure->status());
        report_.append({{QStringLiteral("from"), item.from},
                        {QStringLiteral("to"), item.to},
                        {QStringLiteral("error"), text}});
    }

    bool showsEnd(Item const & item) const { return options_.pauseMs != noPieces && !item.isKept; }

    void showLines(Item const & item) const
    {
        report_.line(item.isKept ? QStringLiteral("skipped") : QStringLiteral("copied"),
                     QStringLiteral("%1, %2").arg(item.to, sizeText(item.size)));
        if (showsEnd(item) && item.endsEmpty)
            report_.line(QStringLiteral("ends in zeros"),
                         QStringLiteral("%1, possibly incomplete").arg(item.from));
    }

    QJsonObject toJson(Item const & item) const
    {
        QJsonObject object = {{QStringLiteral("from"), item.from},
                              {QStringLiteral("to"), item.to},
                              {QStringLiteral("copied"), !item.isKept},
                              {QStringLiteral("size"), item.size}};
        if (showsEnd(item))
            object.insert(QStringLiteral("endsEmpty"), item.endsEmpty);
        return object;
    }

    Options const & options_;
    Report & report_;
    QStringList failures_;
    int status_ = Done; ///< exit status of the failures
};

/// Appends to the target itself, without a temporary file. After an interruption, the next run of
/// the command can therefore continue the copy.
void append(QString const & from, QString const & to, qint64 begin)
{
    auto const progress = [&] {
        return QStringLiteral("%1 of %2 bytes").arg(sizeOf(to)).arg(sizeOf(from));
    };
    StopGuard guard;
    guard.acquire([] { return true; }, [] {},
                  [&] { return QStringLiteral("stopped: %1 copied to '%2'").arg(progress(), to); });
    QString const failure = copyWithProgress(
        from, begin, [&] { return sizeOf(to); },
        [&] {
            bool limitReported = false;
            return oxResumeFile(from, to, limitReported);
        });
    if (!failure.isEmpty())
        throw Failure(QStringLiteral("cannot append to '%1' (%2 copied): %3")
                          .arg(to, progress(), reasonIn(failure)));
}

void resume(ResumeOptions const & options, Report & report)
{
    QString const from = options.from;
    QString const to = targetOf(from, options.to);
    auto const old = platform::statusOfFile(nativeName(to));
    bool const isWhole = !old || old->size > sizeOf(from);
    if (isWhole)
        copyOne(from, to, noPieces, nullptr);
    else
        append(from, to, old->size);
    qint64 const size = sizeOf(to);
    qint64 const added = isWhole ? size : size - old->size;
    report.set(QStringLiteral("from"), from);
    report.set(QStringLiteral("to"), to);
    report.set(QStringLiteral("whole"), isWhole);
    report.set(QStringLiteral("added"), added);
    report.set(QStringLiteral("size"), size);
    report.line(isWhole ? QStringLiteral("copied") : QStringLiteral("appended"),
                QStringLiteral("%1 to %2, size now %3").arg(sizeText(added), to, sizeText(size)));
}

/// Continues the copy until a stop request.
int followTarget(ResumeOptions const & options)
{
    FollowOptions following = options.times;
    following.file = options.from;
    following.copy = targetOf(options.from, options.to);
    following.json = options.json;
    return follow(following);
}

} // namespace

Command copyCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "cp",
            .group = Group::Files,
            .summary = "Copy files with their times; a target is never incomplete",
            .options = {{.name = "FILE",
                         .help = "Files to copy, then the target file or the folder for the copies",
                         .target = &options->files,
                         .isRequired = true},
                        jobsOption(options->jobs),
                        pauseOption(options->pauseMs),
                        {.name = "--keep",
                         .help = "Skip the copy if the target exists",
                         .target = &options->keep},
                        jsonOption(options->json)},
            .examples = {"oxtool cp --pause 50ms scene.0001.exr /mnt/share/out",
                         "oxtool cp scene.*.exr /mnt/share/out"},
            .run = reporting(options, [](Options const & given, Report & report) {
                Copying(given, report).run();
            })};
}

Command resumeCommand()
{
    auto const options = std::make_shared<ResumeOptions>();
    std::vector<Option> times = followTimes(options->times);
    for (Option & time : times)
        time.needs = "--follow";
    Option json = jsonOption(options->json);
    json.help += "; with --follow one object per line";
    return {
        .name = "resume",
        .group = Group::Files,
        .summary = "Append the new data of a growing file to its copy",
        .details =
            "If FROM is shorter than TO, TO becomes a copy of the whole FROM. If FROM is larger\n"
            "than 25 MiB, nothing is appended, and the command fails; --follow has no limit.",
        .options =
            {{.name = "FROM", .help = "File to copy", .target = &options->from, .isRequired = true},
             {.name = "TO",
              .help = "Target file, or folder for the copy",
              .target = &options->to,
              .isRequired = true},
             {.name = "--follow",
              .help = "Continue until Ctrl-C, as 'oxtool follow FROM --to TO' does",
              .target = &options->follows},
             times[0],
             times[1],
             json},
        .examples = {"oxtool resume render.log /mnt/share/logs/render.log",
                     "oxtool resume --follow render.log /mnt/share/logs"},
        .run = [options] {
            if (options->follows)
                return followTarget(*options);
            return runReported(options->json, [&](Report & report) { resume(*options, report); });
        }};
}

} // namespace ox::tool
