#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/fs/file.h"
#include "shared/platform/files.h"

namespace ox::tool
{
namespace
{

struct Options {
    QString path;
    bool json = false;
};

void show(Options const & options, Report & report)
{
    QString const path = fullPath(options.path);
    auto const bytes = platform::freeBytes(nativeName(path));
    auto const shownMB = static_cast<qint64>(oxGetFreeDriveSpaceMB(path));
    report.set(QStringLiteral("path"), path);
    report.set(QStringLiteral("freeMB"), shownMB);
    report.set(QStringLiteral("free"),
               bytes ? QJsonValue(static_cast<qint64>(*bytes)) : QJsonValue());
    report.line(QStringLiteral("path"), path);
    report.line(QStringLiteral("library"), QStringLiteral("%1 MiB").arg(shownMB));
    if (!bytes)
        throw Failure(QStringLiteral("cannot get the free space of '%1': %2; the applications "
                                     "assume %3 MiB")
                          .arg(path, reasonOf(bytes.error()))
                          .arg(shownMB),
                      statusOf(bytes.error()));
    report.line(QStringLiteral("free"), sizeText(static_cast<qint64>(*bytes)));
}

} // namespace

Command spaceCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "space",
            .group = Group::Files,
            .summary = "Show the free space of a drive or share, as the applications see it",
            .options = {{.name = "PATH",
                         .help = "Path on the drive or share; it need not exist",
                         .target = &options->path,
                         .isRequired = true},
                        jsonOption(options->json)},
            .examples = {"oxtool space /mnt/share/out"},
            .run = reporting(options, show)};
}

} // namespace ox::tool
