#include "shared/fs/copy.h"

#include "oxtool/commands.h"
#include "oxtool/failure.h"
#include "oxtool/names.h"
#include "oxtool/output_file.h"
#include "oxtool/progress.h"
#include "oxtool/report.h"
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
    std::string from;
    std::string to;
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
    QString const to = fromArgument(options.to);
    auto const status = platform::fileStatus(nativeName(to));
    if (!status || !status->isFolder)
        return to;
    return QDir(to).filePath(QFileInfo(fromArgument(options.from)).fileName());
}

/// Runs one of the library's copies, to the file it is given, and shows how far it is. Returns the
/// failure's text.
using Copy = std::function<QString(QString const & to)>;
QString runCopy(Copy const & copy, QString const & from, QString const & to, qint64 begin = 0)
{
    Progress const progress(QStringLiteral("Copying %1").arg(QFileInfo(from).fileName()),
                            sizeOf(from) - begin, [&] { return sizeOf(to) - begin; });
    return copy(to);
}

/// Copies so that the target comes into being whole or not at all. The sizes must tell, since the
/// library takes a copy by the piece for done even when the disk is full.
void copyWhole(Copy const & copy, QString const & from, QString const & to)
{
    OutputFile file(to);
    qint64 const size = sizeOf(from);
    QString failure = runCopy(copy, from, file.temporaryName());
    qint64 const copied = sizeOf(file.temporaryName());
    if (failure.isEmpty() && copied < size)
        failure = QStringLiteral("The copy had %1 of %2 bytes.").arg(copied).arg(size);
    if (!failure.isEmpty())
        throw Failure(
            QStringLiteral("%1 was not copied. %2 %3").arg(from, file.whatIsLeft(), failure));
    file.commit();
}

void copy(Options const & options, Report & report)
{
    QString const from = fromArgument(options.from);
    QString const to = targetOf(options);
    bool const isKept = options.keep && platform::fileStatus(nativeName(to));
    bool endsEmpty = false;
    if (!isKept) {
        copyWhole(
            [&](QString const & target) {
                return oxCopyFile(from, target, false, options.pauseMs, &endsEmpty);
            },
            from, to);
    }
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
void append(Copy const & resume, QString const & from, QString const & to, qint64 begin)
{
    auto const whatIsThere = [&] {
        return QStringLiteral("%1 has %2 of %3 bytes.").arg(to).arg(sizeOf(to)).arg(sizeOf(from));
    };
    Holding interruption;
    interruption.take([] { return true; }, [] {},
                      [&] { return QStringLiteral("stopped. ") + whatIsThere(); });
    QString const failure = runCopy(resume, from, to, begin);
    if (!failure.isEmpty())
        throw Failure(whatIsThere() + QLatin1Char(' ') + failure);
}

void resume(Options const & options, Report & report)
{
    QString const from = fromArgument(options.from);
    QString const to = targetOf(options);
    auto const old = platform::fileStatus(nativeName(to));
    bool const startsAgain = !old || old->size > sizeOf(from);
    bool limitReported = false;
    auto const run = [&](QString const & target) {
        return oxResumeFile(from, target, limitReported);
    };
    if (startsAgain)
        copyWhole(run, from, to);
    else
        append(run, from, to, old->size);
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

CLI::App & addCopying(CLI::App & program, char const * name, char const * description,
                      Options & options)
{
    CLI::App & command = *program.add_subcommand(name, description);
    command.add_option("FROM", options.from, "The file to copy")->required();
    command.add_option("TO", options.to, "The copy, or the folder for it")->required();
    addJson(command, options.json);
    return command;
}

} // namespace

void addCopy(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command =
        addCopying(program, "cp", "Copy a file, with its time, whole or not at all", *options);
    command.footer("Example:\n"
                   "  oxtool cp --pause 50 scene.0001.exr /mnt/share/out");
    command
        .add_option("--pause", options->pauseMs,
                    "Copy in pieces of 1 MiB and pause after each, to spare the share")
        ->type_name("MS")
        ->check(atLeast(0));
    command.add_flag("--keep", options->keep, "Take a file that is there already for done");
    command.callback([options, &run] { run = reporting(options, copy); });
}

void addResume(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command =
        addCopying(program, "resume", "Bring the copy of a growing file up to date", *options);
    command.footer(
        "A source that became shorter is copied whole, one above 25 MiB is not appended.\n"
        "Example:\n"
        "  oxtool resume render.log /mnt/share/logs/render.log");
    command.callback([options, &run] { run = reporting(options, resume); });
}

} // namespace ox::tool
