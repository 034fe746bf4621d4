#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/output_file.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/fs/copy.h"
#include "shared/fs/copy_steps.h"
#include "shared/platform/files.h"

#include <QDir>
#include <QFileInfo>

#include <functional>

namespace ox::tool
{
namespace
{

constexpr int noPieces = -1;

struct Options {
    QString from;
    QString to;
    int pauseMs = noPieces;
    bool keep = false;
    bool json = false;
};

/// Returns the size of a file; 0 for one that does not exist.
qint64 sizeOf(QString const & path)
{
    auto const status = platform::fileStatus(nativeName(path));
    return status ? status->size : 0;
}

/// Returns the file to write: TO, or in the folder TO a file with the source's name.
QString targetOf(Options const & options)
{
    QString const to = options.to;
    auto const status = platform::fileStatus(nativeName(to));
    if (!status || !status->isFolder)
        return to;
    return QDir(to).filePath(QFileInfo(options.from).fileName());
}

/// Runs a copy and shows its progress by the size of the target. Returns the text of a failure.
QString copyWithProgress(QString const & from, qint64 begin, Progress::Measure const & size,
                         std::function<QString()> const & copy)
{
    Progress const progress(QStringLiteral("Copying %1").arg(QFileInfo(from).fileName()),
                            sizeOf(from) - begin, [&] { return size() - begin; });
    return copy();
}

/// Copies to a temporary file, which replaces the target when it is complete.
void copyWhole(QString const & from, QString const & to, int pauseMs, bool * endsEmpty)
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
        platform::NewFile & copy = file.create(bySystem ? Access::Owner : Access::ByMask);
        failure = copyWithProgress(
            from, 0, [&] { return copy.size().value_or(0); },
            [&] { return fs::copyWhole(nativeName(from), copy, pauseMs, endsEmpty); });
    }
    if (!failure.isEmpty())
        throw Failure(QStringLiteral("cannot copy '%1' to '%2' (target %3): %4")
                          .arg(from, to, file.targetState(), reasonIn(failure)),
                      exitStatus);
    file.commit();
}

void copy(Options const & options, Report & report)
{
    QString const from = options.from;
    QString const to = targetOf(options);
    bool const isKept = options.keep && platform::fileStatus(nativeName(to));
    bool endsEmpty = false;
    if (!isKept)
        copyWhole(from, to, options.pauseMs, &endsEmpty);
    report.set(QStringLiteral("from"), from);
    report.set(QStringLiteral("to"), to);
    report.set(QStringLiteral("copied"), !isKept);
    report.set(QStringLiteral("size"), sizeOf(to));
    report.line(isKept ? QStringLiteral("skipped") : QStringLiteral("copied"),
                QStringLiteral("%1, %2").arg(to, sizeText(sizeOf(to))));
    if (options.pauseMs == noPieces || isKept)
        return;
    report.set(QStringLiteral("endsEmpty"), endsEmpty);
    if (endsEmpty)
        report.line(QStringLiteral("ends in zeros"),
                    QStringLiteral("%1, possibly incomplete").arg(from));
}

/// Appends in place, so that the next call can continue a partly appended target.
void append(QString const & from, QString const & to, qint64 begin)
{
    auto const progress = [&] {
        return QStringLiteral("%1 of %2 bytes").arg(sizeOf(to)).arg(sizeOf(from));
    };
    StopGuard guard;
    guard.acquire([] { return true; }, [] {},
                  [&] { return QStringLiteral("stopped: '%1' has %2").arg(to, progress()); });
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

void resume(Options const & options, Report & report)
{
    QString const from = options.from;
    QString const to = targetOf(options);
    auto const old = platform::statusOfFile(nativeName(to));
    bool const isWhole = !old || old->size > sizeOf(from);
    if (isWhole)
        copyWhole(from, to, noPieces, nullptr);
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
                QStringLiteral("%1 to %2, now %3").arg(sizeText(added), to, sizeText(size)));
}

Option fromOption(Options & options)
{
    return {.name = "FROM", .help = "File to copy", .target = &options.from, .isRequired = true};
}

Option toOption(Options & options)
{
    return {.name = "TO",
            .help = "Target file, or folder for the copy",
            .target = &options.to,
            .isRequired = true};
}

} // namespace

Command copyCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "cp",
            .group = Group::Files,
            .summary = "Copy a file with its time; TO is never incomplete",
            .options = {fromOption(*options),
                        toOption(*options),
                        pauseOption(options->pauseMs),
                        {.name = "--keep",
                         .help = "Skip the copy if the target exists",
                         .target = &options->keep},
                        jsonOption(options->json)},
            .examples = {"oxtool cp --pause 50ms scene.0001.exr /mnt/share/out"},
            .run = reporting(options, copy)};
}

Command resumeCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "resume",
            .group = Group::Files,
            .summary = "Append the new data of a growing file to its copy",
            .details =
                "If FROM is shorter than TO, it is copied from the beginning. A FROM above 25 MiB\n"
                "cannot be appended.",
            .options = {fromOption(*options), toOption(*options), jsonOption(options->json)},
            .examples = {"oxtool resume render.log /mnt/share/logs/render.log"},
            .run = reporting(options, resume)};
}

} // namespace ox::tool
