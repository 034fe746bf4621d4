#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/fs/dir_listing.h"

namespace ox::tool
{
namespace
{

struct Options {
    QString folder;
    std::vector<QString> endings;
    bool sort = false;
    bool folders = false;
    bool json = false;
};

QString lineOf(oxDirListing const & listing)
{
    bool const isFolder = listing.isDir();
    QString const size = isFolder ? QString() : QString::number(listing.fileSize());
    QString const name = listing.fileName() + QLatin1String(isFolder ? "/" : "");
    return QStringLiteral("%1  %2  %3")
        .arg(size.rightJustified(15), timeText(listing.fileTime().value), name);
}

QJsonObject jsonOf(oxDirListing const & listing)
{
    return {{QStringLiteral("name"), listing.fileName()},
            {QStringLiteral("folder"), listing.isDir()},
            {QStringLiteral("size"), static_cast<qint64>(listing.fileSize())},
            {QStringLiteral("time"), jsonTime(listing.fileTime().value)}};
}

void list(Options const & options, Report & report)
{
    QString const folder = options.folder;
    if (folder.isEmpty())
        throw Failure(QStringLiteral("cannot list folder '': the name is empty"), Missing);
    oxDirListing listing;
    for (QString const & ending : options.endings)
        listing.addEndsWithFilter(ending);
    listing.init(folder, options.folders, options.sort, options.sort, false);
    report.set(QStringLiteral("path"), folder);
    report.beginArray(QStringLiteral("entries"));
    while (!isOutputLost() && listing.nextFile()) {
        if (options.json)
            report.append(jsonOf(listing));
        else
            report.text(lineOf(listing));
    }
    if (listing.error() != 0)
        throw Failure(
            QStringLiteral("cannot list folder '%1': %2").arg(folder, reasonOf(listing.error())),
            statusOf(platform::Error{listing.error()}));
}

} // namespace

Command listCommand()
{
    auto const options = std::make_shared<Options>();
    return {
        .name = "ls",
        .group = Group::Files,
        .summary = "List the files of a folder with size and time",
        .options = {{.name = "FOLDER",
                     .help = "Folder, file, or pattern that ends with *",
                     .target = &options->folder,
                     .isRequired = true},
                    {.name = "--ends",
                     .valueName = "ENDING",
                     .help = "List only files with this ending, in any letter case",
                     .target = &options->endings},
                    {.name = "--sort", .help = "Sort by name", .target = &options->sort},
                    {.name = "--dirs", .help = "List folders as well", .target = &options->folders},
                    jsonOption(options->json)},
        .examples = {"oxtool ls --ends .exr --ends .tif --sort /mnt/share/out"},
        .run = reporting(options, list)};
}

} // namespace ox::tool
