#include "oxtool/commands/commands.h"
#include "oxtool/support/names.h"
#include "oxtool/support/path_map.h"
#include "oxtool/support/report.h"
#include "shared/platform/files.h"

#include <QJsonArray>

namespace ox::tool
{
namespace
{

struct Options {
    QString path;
    bool json = false;
};

QString kindText(platform::NameKind kind)
{
    switch (kind) {
    case platform::NameKind::File:
        return QStringLiteral("file");
    case platform::NameKind::Folder:
        return QStringLiteral("folder");
    case platform::NameKind::None:
        break;
    }
    return QStringLiteral("none");
}

void showPath(QString const & stored, Report & report)
{
    LocalPath const local = localArgument(stored);
    auto const kind = platform::kindOf(nativeName(local.path));
    bool const isMapped = !local.storedRoot.isEmpty();
    report.set(QStringLiteral("storedPath"), stored);
    report.set(QStringLiteral("localPath"), local.path);
    report.set(QStringLiteral("mappedFrom"),
               isMapped ? QJsonValue(local.storedRoot) : QJsonValue());
    report.set(QStringLiteral("mappedBy"), isMapped ? QJsonValue(local.source) : QJsonValue());
    report.set(QStringLiteral("kind"), kindText(kind));
    report.line(QStringLiteral("stored"), stored);
    report.line(QStringLiteral("path"), local.path);
    report.line(QStringLiteral("mapped"),
                isMapped ? QStringLiteral("from %1, set by %2").arg(local.storedRoot, local.source)
                         : QStringLiteral("no"));
    report.line(QStringLiteral("refers to"), kindText(kind));
}

void showMappings(Report & report)
{
    QJsonArray mappings;
    for (RootMapping const & mapping : rootMappings()) {
        mappings.append(QJsonObject{{QStringLiteral("storedRoot"), mapping.storedRoot},
                                    {QStringLiteral("localRoot"), mapping.localRoot},
                                    {QStringLiteral("mappedBy"), mapping.source}});
        report.line(QStringLiteral("mapping"),
                    QStringLiteral("%1 to %2, set by %3")
                        .arg(mapping.storedRoot, mapping.localRoot, mapping.source));
    }
    report.set(QStringLiteral("mappings"), mappings);
    report.set(QStringLiteral("configurationFile"), configurationFile());
    report.line(QStringLiteral("configuration"), configurationFile());
}

} // namespace

Command pathCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "path",
            .group = Group::Files,
            .summary = "Show the local path of a stored path, or all mappings",
            .details =
                "Mappings come from --map, then from the environment variable OXTOOL_MAP\n"
                "(separated like the folders of PATH, or by line breaks), then from the lines\n"
                "\"map = MAPPING\" of the configuration file. A mapping has the form\n"
                "STORED_ROOT=LOCAL_ROOT.",
            .options = {{.name = "STORED_PATH",
                         .help = "Path in Windows, Linux or Mac form",
                         .target = &options->path},
                        mapOption(),
                        jsonOption(options->json)},
            .examples = {"oxtool path '\\\\farm\\share\\jobs\\job17.oxdb'"},
            .run = reporting(options, [](Options const & given, Report & report) {
                if (given.path.isEmpty())
                    showMappings(report);
                else
                    showPath(given.path, report);
            })};
}

} // namespace ox::tool
