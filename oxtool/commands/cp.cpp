#include "shared/fs/copy.h"

#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/output_file.h"
#include "oxtool/support/progress.h"
#include "oxtool/support/report.h"
#include "shared/fs/copy_steps.h"
#include "shared/platform/files.h"

#include <QDir>
#include <QFileInfo>

#include <functional>

namespace ox::tool
{
namespace
{

constexpr int withoutPieces = -1;

struct Options {
    QString from;
    QString to;
    int pauseMs = withoutPieces;
    bool keep = false;
    bool json = false;
};

/// 0 for a file that does not exist.
qint64 sizeOf(QString const & path)
{
    auto const status = platform::fileStatus(nativeName(path));
    return status ? status->size : 0;
}

/// The file to write: in a folder, that of the source's name.
QString targetOf(Options const & options)
{
    QString const to = options.to;
    auto const status = platform::fileStatus(nativeName(to));
    if (!status || !status->isFolder)
        return to;
    return QDir(to).filePath(QFileInfo(options.from).fileName());
}

/// Runs a copy and shows its progress, by the number of bytes that the target has. Returns the
/// failure's text.
QString showProgress(QString const & from, qint64 begin, Progress::Measure const & size,
                     std::function<QString()> const & copy)
{
    Progress const progress(QStringLiteral("Copying %1").arg(QFileInfo(from).fileName()),
                            sizeOf(from) - begin, [&] { return size() - begin; });
    return copy();
}

/// Copies so that the target takes its name only when it is complete.
void copyWhole(QString const & from, QString const & to, int pauseMs, bool * endsEmpty)
{
    using Access = OutputFile::Access;
    OutputFile file(to);
    QString failure = QStringLiteral("Source file does not exist.");
    if (platform::statusOfFile(nativeName(from))) {
        bool const bySystem = pauseMs == withoutPieces;
        platform::NewFile & copy = file.create(bySystem ? Access::Owner : Access::ByMask);
        failure = showProgress(
            from, 0, [&] { return copy.size().value_or(0); },
            [&] { return fs::copyWhole(nativeName(from), copy, pauseMs, endsEmpty); });
    }
    if (!failure.isEmpty())
        throw Failure(
            QStringLiteral("%1 was not copied. %2 %3").arg(from, file.whatIsLeft(), failure));
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
    report.line(isKept ? QStringLiteral("kept") : QStringLiteral("copied"),
                QStringLiteral("%1, %2").arg(to, sizeText(sizeOf(to))));
    if (options.pauseMs == withoutPieces || isKept)
        return;
    report.set(QStringLiteral("endsEmpty"), endsEmpty);
    if (endsEmpty)
        report.line(QStringLiteral("ends empty"),
                    QStringLiteral("%1 may still be being written").arg(from));
}

/// Appends in place, since a target that has a part of a log is what the next call wants.
void append(QString const & from, QString const & to, qint64 begin)
{
    auto const whatIsThere = [&] {
        return QStringLiteral("%1 has %2 of %3 bytes.").arg(to).arg(sizeOf(to)).arg(sizeOf(from));
    };
    StopGuard guard;
    guard.acquire([] { return true; }, [] {},
                  [&] { return QStringLiteral("stopped. ") + whatIsThere(); });
    QString const failure = showProgress(
        from, begin, [&] { return sizeOf(to); },
        [&] {
            bool limitReported = false;
            return oxResumeFile(from, to, limitReported);
        });
    if (!failure.isEmpty())
        throw Failure(whatIsThere() + QLatin1Char(' ') + failure);
}

void resume(Options const & options, Report & report)
{
    QString const from = options.from;
    QString const to = targetOf(options);
    auto const old = platform::statusOfFile(nativeName(to));
    bool const startsAgain = !old || old->size > sizeOf(from);
    if (startsAgain)
        copyWhole(from, to, withoutPieces, nullptr);
    else
        append(from, to, old->size);
    qint64 const size = sizeOf(to);
    qint64 const added = startsAgain ? size : size - old->size;
    report.set(QStringLiteral("from"), from);
    report.set(QStringLiteral("to"), to);
    report.set(QStringLiteral("whole"), startsAgain);
    report.set(QStringLiteral("added"), added);
    report.set(QStringLiteral("size"), size);
    report.line(startsAgain ? QStringLiteral("copied") : QStringLiteral("added"),
                QStringLiteral("%1 to %2, now %3").arg(sizeText(added), to, sizeText(size)));
}

Option fromOption(Options & options)
{
    return {.name = "FROM", .help = "File to copy", .target = &options.from, .isRequired = true};
}

Option toOption(Options & options)
{
    return {.name = "TO",
            .help = "The copy, or the folder for it",
            .target = &options.to,
            .isRequired = true};
}

} // namespace

Command copyCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "cp",
            .group = Group::Files,
            .summary = "Copy a file with its time, whole or not at all",
            .options = {fromOption(*options),
                        toOption(*options),
                        pauseOption(options->pauseMs),
                        {.name = "--keep",
                         .help = "Skip a file that exists already",
                         .target = &options->keep},
                        jsonOption(options->json)},
            .examples = {"oxtool cp --pause 50 scene.0001.exr /mnt/share/out"},
            .run = reporting(options, copy)};
}

Command resumeCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "resume",
            .group = Group::Files,
            .summary = "Append what a growing file gained to its copy",
            .details =
                "A source that became shorter is copied whole, one above 25 MiB is not appended.",
            .options = {fromOption(*options), toOption(*options), jsonOption(options->json)},
            .examples = {"oxtool resume render.log /mnt/share/logs/render.log"},
            .run = reporting(options, resume)};
}

} // namespace ox::tool
