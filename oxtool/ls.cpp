#include "shared/fs/dir_listing.h"

#include "oxtool/commands.h"
#include "oxtool/failure.h"
#include "oxtool/names.h"
#include "oxtool/report.h"
#include "shared/system/os_error.h"

#include <QJsonArray>

namespace ox::tool
{
namespace
{

struct Options {
    std::string folder;
    std::vector<std::string> endings;
    bool sort = false;
    bool folders = false;
    bool json = false;
};

QString lineOf(oxDirListing const & listing)
{
    bool const isFolder = listing.isDir();
    QString const size = isFolder ? QString() : QString::number(listing.fileSize());
    QString const name = shownName(listing.fileName()) + QLatin1String(isFolder ? "/" : "");
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
    QString const folder = fromArgument(options.folder);
    if (folder.isEmpty())
        throw Failure(QStringLiteral("The name of the folder is empty."));
    oxDirListing listing;
    for (std::string const & ending : options.endings)
        listing.addEndsWithFilter(fromArgument(ending));
    listing.init(folder, options.folders, options.sort, options.sort, false);
    QJsonArray entries;
    while (listing.nextFile()) {
        if (options.json)
            entries.append(jsonOf(listing));
        else
            report.text(lineOf(listing));
    }
    report.set(QStringLiteral("path"), folder);
    report.set(QStringLiteral("entries"), entries);
    if (listing.error() != 0)
        throw Failure(QStringLiteral("%1 cannot be read. %2")
                          .arg(shownName(folder), QString(oxLastOSError(listing.error()))));
}

} // namespace

void addList(CLI::App & program, Run & run)
{
    auto const options = std::make_shared<Options>();
    CLI::App & command =
        *program.add_subcommand("ls", "List a folder's files with their sizes and times");
    command.footer("Example:\n"
                   "  oxtool ls --ends .exr --ends .tif --sort /mnt/share/out");
    command
        .add_option("FOLDER", options->folder, "The folder, a file, or a pattern that ends with *")
        ->required();
    command
        .add_option("--ends", options->endings, "Only files that end so, in any case of letters")
        ->type_name("ENDING")
        ->allow_extra_args(false);
    command.add_flag("--sort", options->sort, "Sort by name");
    command.add_flag("--dirs", options->folders, "List folders, too");
    addJson(command, options->json);
    command.callback([options, &run] { run = reporting(options, list); });
}

} // namespace ox::tool
