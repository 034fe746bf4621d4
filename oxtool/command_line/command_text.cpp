#include "oxtool/command_line/command_text.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string_view>

namespace ox::tool
{
namespace
{

/// Returns an option in the form of a synopsis: "[--ends ENDING]...".
std::string usageOf(Option const & option)
{
    std::string text = option.name;
    if (!isPositional(option) && !isFlag(option))
        text += ' ' + option.valueName;
    if (auto const * const values = std::get_if<std::span<int>>(&option.target)) {
        for (std::size_t more = 1; more < values->size(); ++more)
            text += ' ' + option.valueName;
    }
    if (isList(option) && isPositional(option))
        text += "...";
    if (completionOf(option) == Completion::Programs)
        text = "-- " + text;
    if (!option.isRequired)
        text = '[' + text + ']';
    return isList(option) && !isPositional(option) ? text + "..." : text;
}

void addVisible(std::string const & parent, std::vector<Command> const & commands,
                std::vector<NamedCommand> & all)
{
    for (Command const & command : commands) {
        if (command.isHidden)
            continue;
        std::string const path = parent.empty() ? command.name : parent + ' ' + command.name;
        all.push_back({path, &command});
        addVisible(path, command.subcommands, all);
    }
}

} // namespace

char const * titleOf(Group group)
{
    switch (group) {
    case Group::BufferFiles:
        return "Buffer files";
    case Group::Locks:
        return "Locks";
    case Group::Files:
        return "Files and folders";
    case Group::Machine:
        return "Machine";
    case Group::Diagnosis:
        return "Diagnosis";
    case Group::Help:
        return "Help";
    }
    return "";
}

bool isPositional(Option const & option)
{
    return !option.name.starts_with("--");
}

bool isFlag(Option const & option)
{
    return std::holds_alternative<bool *>(option.target);
}

bool isList(Option const & option)
{
    return std::holds_alternative<std::vector<QString> *>(option.target) ||
           std::holds_alternative<std::vector<std::string> *>(option.target) ||
           std::holds_alternative<ParseValue>(option.target);
}

bool isDuration(Option const & option)
{
    return std::holds_alternative<Milliseconds>(option.target);
}

bool isAge(Option const & option)
{
    return std::holds_alternative<Age>(option.target);
}

std::string namesOf(Option const & option)
{
    if (option.letter == 0)
        return option.name;
    return std::string("-") + option.letter + "," + option.name;
}

std::string defaultOf(Option const & option)
{
    return std::visit(
        Overloaded{[](int * number) { return std::to_string(*number); },
                   [](double * number) {
                       std::ostringstream text;
                       text << *number;
                       return text.str();
                   },
                   [](Milliseconds duration) { return durationText(*duration.value); },
                   [](std::string * text) { return *text; },
                   [](QString * text) { return text->toStdString(); },
                   [](auto const &) { return std::string(); }},
        option.target);
}

std::string helpOf(Option const & option)
{
    std::string remark = isDuration(option) ? std::string() : option.unit;
    if (option.showsDefault)
        remark += (remark.empty() ? "default " : ", default ") + defaultOf(option);
    return remark.empty() ? option.help : option.help + " (" + remark + ")";
}

std::string detailsOf(Command const & command)
{
    std::string text = command.details;
    auto const add = [&](auto const & hasUnit, char const * units) {
        auto const option = std::ranges::find_if(command.options, hasUnit);
        if (option != command.options.end())
            text += (text.empty() ? "" : "\n") + option->valueName + units;
    };
    add(isDuration, " has a unit: 250ms, 5s, 10min, 2h or 1d. A bare number is in ms.");
    add(isAge, " has a unit: 90s, 10min, 2h or 7d. A bare number is in seconds.");
    return text;
}

std::string durationText(int ms)
{
    struct {
        int length;
        char const * name;
    } const units[] = {{24 * 3600'000, "d"}, {3600'000, "h"}, {60'000, "min"}, {1000, "s"}};
    for (auto const & unit : units) {
        if (ms != 0 && ms % unit.length == 0)
            return std::to_string(ms / unit.length) + unit.name;
    }
    return std::to_string(ms) + "ms";
}

std::string synopsisOf(std::string const & path, Command const & command)
{
    std::string text = path;
    for (Option const & option : command.options) {
        if (!option.isHidden && !isPositional(option))
            text += ' ' + usageOf(option);
    }
    for (Option const & option : command.options) {
        if (isPositional(option))
            text += ' ' + usageOf(option);
    }
    return command.subcommands.empty() ? text : text + " COMMAND";
}

Completion completionOf(Option const & option)
{
    if (!wordsOf(option).empty())
        return Completion::Words;
    std::string_view const name = isPositional(option) ? option.name : option.valueName;
    auto const contains = [name](std::string_view part) {
        return name.find(part) != std::string_view::npos;
    };
    if (contains("FOLDER"))
        return Completion::Folders;
    // Values with these names are files or folders.
    constexpr std::string_view paths[] = {"COPY", "DUMP",   "FROM",   "LIST", "PATH",
                                          "TO",   "SOURCE", "TARGET", "IN",   "STORED_PATH"};
    if (contains("FILE") || std::ranges::find(paths, name) != std::end(paths))
        return Completion::Files;
    return name == "COMMAND" ? Completion::Programs : Completion::Nothing;
}

std::vector<std::string> const & wordsOf(Option const & option)
{
    return option.choices.empty() ? option.suggestions : option.choices;
}

std::vector<NamedCommand> visibleCommands(std::vector<Command> const & commands)
{
    std::vector<NamedCommand> all;
    addVisible({}, commands, all);
    return all;
}

} // namespace ox::tool
