#include "oxtool/support/path_map.h"

#include "oxtool/command_line/command_text.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/platform/open_file.h"
#include "shared/platform/this_process.h"
#include "shared/platform/user.h"
#include "shared/text/native_path.h"

#include <QStringList>

#include <algorithm>
#include <optional>
#include <utility>

namespace ox::tool
{
namespace
{

/// The mappings of one process.
struct PathMap {
    std::vector<RootMapping> mappings;
    bool isComplete = false; ///< whether the environment variable and the file have been read
};

PathMap & pathMap()
{
    static PathMap map;
    return map;
}

/// Parses a mapping and adds it. `source` is "OXTOOL_MAP" or a line of the file, for messages.
void add(QString const & text, QString const & source)
{
    RootMapping mapping;
    if (!parseRootMapping(text.trimmed(), mapping))
        throw Failure(QStringLiteral("%1: '%2' does not have the form 'STORED_ROOT=LOCAL_ROOT'")
                          .arg(source, text),
                      WrongUse);
    mapping.source = source;
    pathMap().mappings.push_back(std::move(mapping));
}

/// Returns the end of the first mapping in a list. The colon of a drive ("P:") at the start of a
/// root is not a separator, on any system.
QString::size_type endOfFirst(QString const & list, QChar separator)
{
    auto const isDriveAt = [&list](QString::size_type at) {
        return at + 2 < list.size() && list[at].isLetter() && list[at + 1] == u':' &&
               (list[at + 2] == u'\\' || list[at + 2] == u'/' || list[at + 2] == u'=');
    };
    auto const equals = list.indexOf(u'=');
    QString::size_type from = isDriveAt(0) ? 2 : 0;
    auto end = list.indexOf(separator, from);
    if (equals >= 0 && end == equals + 2 && isDriveAt(equals + 1))
        end = list.indexOf(separator, equals + 3);
    return end < 0 ? list.size() : end;
}

/// Splits a list of mappings at line breaks. A list without line breaks is split at the separator
/// of PATH on this system (":" or ";").
QStringList splitList(QString list)
{
    if (list.contains(u'\n'))
        return list.split(u'\n', Qt::SkipEmptyParts);
    QChar const separator = platform::ownSeparator == '\\' ? u';' : u':';
    QStringList parts;
    while (!list.isEmpty()) {
        auto const end = endOfFirst(list, separator);
        if (end > 0)
            parts += list.left(end);
        list.remove(0, end + 1);
    }
    return parts;
}

void readVariable()
{
    auto const value = platform::environmentVariable(u"OXTOOL_MAP");
    if (!value)
        return;
    for (QString const & part : splitList(text::toQString(*value))) {
        if (!part.trimmed().isEmpty())
            add(part, QStringLiteral("OXTOOL_MAP"));
    }
}

/// Returns the content of the configuration file; empty if it does not exist.
QString readFile(QString const & name)
{
    constexpr std::int64_t largest = 1024 * 1024;
    auto const fail = [&name](QString const & reason) {
        throw Failure(QStringLiteral("cannot read '%1': %2").arg(name, reason));
    };
    auto file = platform::openForReading(nativeName(name), platform::Writers::Allowed);
    if (!file) {
        if (file.error().kind() != platform::ErrorKind::NotFound)
            fail(reasonOf(file.error()));
        return {};
    }
    auto const size = file->size();
    if (!size || *size > largest)
        fail(size ? QStringLiteral("it is larger than 1 MiB") : reasonOf(size.error()));
    std::string bytes(static_cast<std::size_t>(*size), '\0');
    auto const read = file->read(bytes.data(), bytes.size());
    if (!read)
        fail(reasonOf(read.error()));
    return QString::fromUtf8(bytes.data(), static_cast<int>(*read));
}

/// Adds the mappings of the configuration file. Each line is "map =", followed by a mapping
/// "STORED_ROOT=LOCAL_ROOT". Empty lines, and lines that begin with "#", have no effect.
void readConfiguration()
{
    QString const name = configurationFile();
    if (name.isEmpty())
        return;
    int number = 0;
    for (QString const & line : readFile(name).split(u'\n')) {
        ++number;
        QString const text = line.trimmed();
        if (text.isEmpty() || text.startsWith(u'#'))
            continue;
        QString const source = QStringLiteral("%1, line %2").arg(name).arg(number);
        auto const equals = text.indexOf(u'=');
        if (text.left(equals).trimmed() != QLatin1String("map"))
            throw Failure(QStringLiteral("%1: expected 'map = STORED_ROOT=LOCAL_ROOT' instead of "
                                         "'%2'")
                              .arg(source, text),
                          WrongUse);
        add(text.mid(equals + 1), source);
    }
}

bool isStoredForm(QString const & path)
{
    bool const isDrive =
        path.size() > 2 && path[0].isLetter() && path[1] == u':' && path[2] == u'\\';
    return isDrive || path.startsWith(QLatin1String("\\\\"));
}

/// Returns whether the value of an option is a path that acceptStoredPaths() converts. STORED_PATH
/// is not such a path: its commands convert it themselves, and show the stored and the local path.
bool isPath(Option const & option)
{
    Completion const completion = completionOf(option);
    return option.name != "STORED_PATH" &&
           (completion == Completion::Files || completion == Completion::Folders);
}

/// Converts a stored path that a command receives as bytes. If the local path equals the stored
/// path, leaves the bytes unchanged.
void convertBytes(std::string & bytes)
{
    QString const path = fromArgument(bytes);
    QString const local = localArgument(path).path;
    if (local != path)
        bytes = local.toStdString();
}

/// Converts the stored paths in the variable of an option to local paths.
void makeLocal(Target const & target)
{
    auto const convert = [](QString & path) {
        if (!path.isEmpty())
            path = localArgument(path).path;
    };
    if (auto * const path = std::get_if<QString *>(&target))
        convert(**path);
    else if (auto * const paths = std::get_if<std::vector<QString> *>(&target))
        std::for_each((*paths)->begin(), (*paths)->end(), convert);
    else if (auto * const bytes = std::get_if<std::string *>(&target))
        convertBytes(**bytes);
}

/// Converts the stored paths in the variables of options to local paths.
/// Fails: throws Failure when a mapping is wrong. With `asJson`, also writes the failure as JSON.
void makeAllLocal(std::vector<Target> const & paths, bool asJson)
try {
    std::for_each(paths.begin(), paths.end(), makeLocal);
} catch (Failure const & failure) {
    Report(asJson).finish(failure.text());
    throw;
}

} // namespace

std::vector<RootMapping> const & rootMappings()
{
    if (!std::exchange(pathMap().isComplete, true)) {
        readVariable();
        readConfiguration();
    }
    return pathMap().mappings;
}

QString configurationFile()
{
    auto const folder = platform::userFolder(platform::UserFolder::RoamingData);
    if (!folder || folder->empty())
        return {};
    return text::toQString(*folder) + text::ownSeparator + QLatin1String("oxtool") +
           text::ownSeparator + QLatin1String("oxtool.conf");
}

LocalPath localArgument(QString const & argument)
{
    LocalPath const local = localPath(argument, rootMappings());
    bool const isConverted = !local.storedRoot.isEmpty() || isStoredForm(argument);
    return isConverted ? local : LocalPath{argument, QString(), QString()};
}

Option mapOption()
{
    return {.name = "--map",
            .valueName = "STORED_ROOT=LOCAL_ROOT",
            .help = "Replace the root of a stored path by a local folder; the longest match wins",
            .target = [](QString const & text) {
                RootMapping mapping;
                if (!parseRootMapping(text, mapping))
                    return false;
                mapping.source = QStringLiteral("--map");
                pathMap().mappings.push_back(std::move(mapping));
                return true;
            }};
}

void acceptStoredPaths(Command & command)
{
    for (Command & subcommand : command.subcommands)
        acceptStoredPaths(subcommand);
    std::vector<Target> paths;
    bool const * json = nullptr;
    for (Option const & option : command.options) {
        if (isPath(option))
            paths.push_back(option.target);
        if (option.name == "--json")
            json = std::get<bool *>(option.target);
    }
    if (paths.empty())
        return;
    command.options.push_back(mapOption());
    command.run = [paths, json, run = command.run] {
        makeAllLocal(paths, json && *json);
        return run();
    };
}

} // namespace ox::tool
