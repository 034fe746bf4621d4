#include "oxtool/command_line/man_pages.h"

#include "oxtool/command_line/command_text.h"

#include <algorithm>
#include <cctype>
#include <vector>

// The pages use the macros of man(7), which groff and mandoc know.

namespace ox::tool
{
namespace
{

/// Escapes a text of one or several lines for groff and mandoc.
std::string escaped(std::string const & text)
{
    std::string result;
    for (char const letter : text) {
        bool const isLineStart = result.empty() || result.back() == '\n';
        if (isLineStart && (letter == '.' || letter == '\''))
            result += "\\&";
        if (letter == '\\')
            result += "\\e";
        else if (letter == '-')
            result += "\\-";
        else
            result += letter;
    }
    return result;
}

std::string bold(std::string const & text)
{
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(std::string const & text)
{
    return text.empty() ? std::string() : "\\fI" + escaped(text) + "\\fR";
}

std::string upper(std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char letter) {
        return static_cast<char>(std::toupper(letter));
    });
    return text;
}

/// Returns the beginning of a page: its title and the section NAME. `summary` is an imperative
/// sentence.
std::string beginOf(Program const & program, std::string const & page, std::string const & summary)
{
    return ".TH " + escaped(upper(page)) + " 1 \"\" \"" + program.name + ' ' + program.version +
           "\"\n.SH NAME\n" + escaped(page) + " \\- " + escaped(summary) + '\n';
}

/// Returns the section SYNOPSIS, with a line for each command without subcommands.
std::string synopsisSection(std::vector<NamedCommand> const & commands, std::string const & program)
{
    std::string text = ".SH SYNOPSIS\n.nf\n";
    for (auto const & [path, command] : commands) {
        if (command->subcommands.empty())
            text += escaped(synopsisOf(program + ' ' + path, *command)) + '\n';
    }
    return text + ".fi\n";
}

/// Returns the entry of an option in a page: "-o FILE, --out FILE" and the option's help.
std::string itemOf(Option const & option)
{
    std::string const value = isPositional(option) || isFlag(option) ? "" : " " + option.valueName;
    std::string names = bold(option.name) + italic(value);
    if (option.letter != 0)
        names = bold(std::string("-") + option.letter) + italic(value) + ", " + names;
    std::string text = ".TP\n" + (isPositional(option) ? italic(option.name) : names) + '\n' +
                       escaped(helpOf(option)) + ".\n";
    if (!option.choices.empty()) {
        text += "One of";
        for (std::string const & choice : option.choices)
            text += (choice == option.choices.front() ? " " : ", ") + bold(choice);
        text += ".\n";
    }
    return text;
}

std::string optionItems(Command const & command)
{
    std::string text;
    for (Option const & option : command.options) {
        if (!option.isHidden)
            text += itemOf(option);
    }
    return text + ".TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nPrint the help.\n";
}

std::string exitStatusSection()
{
    std::string text = ".SH EXIT STATUS\n";
    int number = 0;
    for (char const * const status : exitStatusTexts)
        text += ".TP\n.B " + std::to_string(number++) + '\n' + escaped(status) + '\n';
    return text;
}

std::string examplesSection(std::vector<NamedCommand> const & commands)
{
    std::string lines;
    for (auto const & [path, command] : commands) {
        for (std::string const & example : command->examples)
            lines += escaped(example) + '\n';
    }
    return lines.empty() ? lines : ".SH EXAMPLES\n.nf\n" + lines + ".fi\n";
}

std::string pageOf(Program const & program, Command const & command)
{
    std::string const page = program.name + '-' + command.name;
    std::vector<NamedCommand> all = visibleCommands(command.subcommands);
    for (NamedCommand & subcommand : all)
        subcommand.path = command.name + ' ' + subcommand.path;
    all.insert(all.begin(), {command.name, &command});
    std::string text = beginOf(program, page, command.summary) + synopsisSection(all, program.name);
    if (std::string const details = detailsOf(command); !details.empty())
        text += ".SH DESCRIPTION\n" + escaped(details) + '\n';
    text += ".SH OPTIONS\n";
    for (auto const & [path, each] : all) {
        if (each != &command)
            text += ".SS " + escaped(path) + '\n' + escaped(each->summary) + ".\n";
        text += optionItems(*each);
    }
    return text + exitStatusSection() + examplesSection(all) + ".SH SEE ALSO\n.BR " +
           escaped(program.name) + " (1)\n";
}

std::string overviewOf(Program const & program)
{
    std::string text = beginOf(program, program.name, program.summary) + ".SH SYNOPSIS\n" +
                       bold(program.name) + ' ' + italic("COMMAND") + " [" + italic("ARGUMENTS") +
                       "]\n.SH COMMANDS\n";
    Command const * previous = nullptr;
    for (Command const & command : program.commands) {
        if (command.isHidden)
            continue;
        if (!previous || previous->group != command.group)
            text += std::string(".SS ") + titleOf(command.group) + '\n';
        previous = &command;
        text += ".TP\n.BR " + escaped(program.name + '-' + command.name) + " (1)\n" +
                escaped(command.summary) + ".\n";
    }
    text += ".SH OPTIONS\n";
    for (auto const & [names, help] :
         {std::pair("\\fB\\-h\\fR, \\fB\\-\\-help\\fR", "Print the help"),
          std::pair("\\fB\\-\\-help\\-all\\fR", "Print the help of all commands"),
          std::pair("\\fB\\-V\\fR, \\fB\\-\\-version\\fR", "Print the version")})
        text += std::string(".TP\n") + names + '\n' + help + ".\n";
    for (Option const & option : program.options)
        text += itemOf(option);
    return text + exitStatusSection();
}

} // namespace

std::map<std::string, std::string> manPages(Program const & program)
{
    std::map<std::string, std::string> pages = {{program.name + ".1", overviewOf(program)}};
    for (Command const & command : program.commands) {
        if (!command.isHidden)
            pages[program.name + '-' + command.name + ".1"] = pageOf(program, command);
    }
    return pages;
}

} // namespace ox::tool
