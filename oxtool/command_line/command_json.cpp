#include "oxtool/command_line/command_json.h"

#include "oxtool/command_line/command_text.h"

#include <QJsonObject>

namespace ox::tool
{
namespace
{

QString toText(std::string const & text)
{
    return QString::fromStdString(text);
}

/// Returns a text, or null for an empty text.
QJsonValue textOrNull(std::string const & text)
{
    return text.empty() ? QJsonValue() : QJsonValue(toText(text));
}

QJsonArray jsonOf(std::vector<std::string> const & texts)
{
    QJsonArray array;
    for (std::string const & text : texts)
        array.append(toText(text));
    return array;
}

QJsonObject jsonOf(Option const & option)
{
    bool const hasOwnValueName = !isPositional(option) && !isFlag(option);
    return {{QStringLiteral("name"), toText(option.name)},
            {QStringLiteral("letter"),
             option.letter == 0 ? QJsonValue() : QJsonValue(QString(QLatin1Char(option.letter)))},
            {QStringLiteral("valueName"), textOrNull(hasOwnValueName ? option.valueName : "")},
            {QStringLiteral("help"), toText(option.help)},
            {QStringLiteral("unit"), textOrNull(option.unit)},
            {QStringLiteral("default"), textOrNull(option.showsDefault ? defaultOf(option) : "")},
            {QStringLiteral("choices"), jsonOf(option.choices)},
            {QStringLiteral("required"), option.isRequired},
            {QStringLiteral("repeatable"), isList(option)}};
}

QJsonObject jsonOf(NamedCommand const & named, Group group)
{
    Command const & command = *named.command;
    QJsonArray options;
    for (Option const & option : command.options) {
        if (!option.isHidden)
            options.append(jsonOf(option));
    }
    return {{QStringLiteral("name"), toText(named.path)},
            {QStringLiteral("group"), QString::fromLatin1(titleOf(group))},
            {QStringLiteral("summary"), toText(command.summary)},
            {QStringLiteral("details"), textOrNull(detailsOf(command))},
            {QStringLiteral("options"), options},
            {QStringLiteral("examples"), jsonOf(command.examples)}};
}

} // namespace

QJsonArray commandsAsJson(std::vector<Command> const & commands, std::string const & path)
{
    QJsonArray array;
    Group group = {};
    for (NamedCommand const & named : visibleCommands(commands)) {
        // A subcommand has no group of its own. It follows its command.
        if (named.path == named.command->name)
            group = named.command->group;
        if (path.empty() || named.path == path || named.path.starts_with(path + ' '))
            array.append(jsonOf(named, group));
    }
    return array;
}

} // namespace ox::tool
