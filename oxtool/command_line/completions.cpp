#include "oxtool/command_line/completions.h"

#include "oxtool/command_line/command_text.h"

#include <algorithm>
#include <vector>

namespace ox::tool
{
namespace
{

using Texts = std::vector<std::string>;

std::string replaced(std::string text, std::string const & from, std::string const & to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

/// Quotes a text for bash and zsh.
std::string quoted(std::string const & text)
{
    return '\'' + replaced(text, "'", "'\\''") + '\'';
}

std::string joined(Texts const & texts, char const * separator = " ")
{
    std::string all;
    for (std::string const & text : texts)
        all += (all.empty() ? "" : separator) + text;
    return all;
}

/// Returns the names of an option as the user types them: "-o", "--out".
Texts typedNames(Option const & option)
{
    Texts names = {option.name};
    if (option.letter != 0)
        names.insert(names.begin(), std::string("-") + option.letter);
    return names;
}

/// Options of the program without a command.
Texts const programOptions = {"-h", "--help", "--help-all", "-V", "--version"};
/// Options that every command has.
Texts const commandOptions = {"-h", "--help"};

/// Appends the names of the visible `options` to `all`, and returns the result. Omits positional
/// arguments.
Texts typedOptions(Texts all, std::vector<Option> const & options)
{
    for (Option const & option : options) {
        if (option.isHidden || isPositional(option))
            continue;
        Texts const names = typedNames(option);
        all.insert(all.end(), names.begin(), names.end());
    }
    return all;
}

Texts namesOf(std::vector<Command> const & commands)
{
    Texts names;
    for (Command const & command : commands) {
        if (!command.isHidden)
            names.push_back(command.name);
    }
    return names;
}

/// Returns the names of the subcommands and the values that a shell completes for all positional
/// arguments.
Texts positionalWords(Command const & command)
{
    Texts all = namesOf(command.subcommands);
    for (Option const & option : command.options) {
        if (isPositional(option))
            all.insert(all.end(), wordsOf(option).begin(), wordsOf(option).end());
    }
    return all;
}

bool hasPositional(Command const & command, Completion completion)
{
    return std::ranges::any_of(command.options, [completion](Option const & option) {
        return isPositional(option) && completionOf(option) == completion;
    });
}

// bash

/// Returns an assignment to the bash variable `files`, which contains compgen's option for files
/// (-f) or folders (-d). Returns an empty text if the shell completes neither.
std::string bashFiles(Completion completion)
{
    if (completion == Completion::Files)
        return " files=-f";
    return completion == Completion::Folders ? " files=-d" : "";
}

std::string bashCaseOf(std::string const & path, Command const & command)
{
    Completion const files = hasPositional(command, Completion::Files)     ? Completion::Files
                             : hasPositional(command, Completion::Folders) ? Completion::Folders
                                                                           : Completion::Nothing;
    return "    " + quoted(path) +
           ") options=" + quoted(joined(typedOptions(commandOptions, command.options))) +
           " words=" + quoted(joined(positionalWords(command))) + bashFiles(files) + " ;;\n";
}

std::string bashValueCases(std::string const & path, std::vector<Option> const & options)
{
    std::string text;
    for (Option const & option : options) {
        if (isPositional(option) || isFlag(option) || option.isHidden)
            continue;
        Texts patterns;
        for (std::string const & name : typedNames(option))
            patterns.push_back(quoted(path + ':' + name));
        text += "    " + joined(patterns, " | ") +
                ") isValue=1 files='' words=" + quoted(joined(wordsOf(option))) +
                bashFiles(completionOf(option)) + " ;;\n";
    }
    return text;
}

constexpr char bashBegin[] =
    R"(    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command='' options='' words='' files='' isValue='' word at
    # bash splits --out=FILE into three words.
    if [[ $current == = ]]; then
        current=''
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    for ((at = 1; at < COMP_CWORD; ++at)); do
        word=${COMP_WORDS[at]}
        if [[ $word == -- ]]; then
            # The words after "--" are another command line.
            if ((at + 1 == COMP_CWORD)); then
                mapfile -t COMPREPLY < <(compgen -c -- "$current")
            else
                compopt -o filenames
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
            fi
            return
        fi
        case $command:$word in
)";

constexpr char bashEnd[] = R"(    if [[ $current == -* && ! $isValue ]]; then
        words=$options files=''
    fi
    mapfile -t COMPREPLY < <(
        compgen -W "$words" -- "$current"
        [[ ! $files ]] || compgen "$files" -- "$current"
    )
    [[ ! $files ]] || compopt -o filenames
}
)";

// zsh

/// Returns the part ":NAME:ACTION" of a specification for zsh's _arguments.
std::string zshAction(Option const & option, std::string const & name)
{
    std::string const start = ':' + replaced(name, ":", "\\:") + ':';
    switch (completionOf(option)) {
    case Completion::Words:
        return start + '(' + joined(wordsOf(option)) + ')';
    case Completion::Files:
        return start + "_files";
    case Completion::Folders:
        return start + "_files -/";
    case Completion::Programs:
        return start + "_normal";
    case Completion::Nothing:
        break;
    }
    return start + ' ';
}

std::string zshHelp(std::string const & help)
{
    return '[' + replaced(replaced(replaced(help, "\\", "\\\\"), "]", "\\]"), ":", "\\:") + ']';
}

std::string zshOption(Option const & option)
{
    std::string const value = isFlag(option) ? "" : zshAction(option, option.valueName);
    std::string const text = quoted(zshHelp(helpOf(option)) + value);
    std::string const equals = isFlag(option) ? "" : "=";
    if (option.letter == 0)
        return (isList(option) ? "'*'" : "") + option.name + equals + text;
    std::string const letter = std::string("-") + option.letter;
    std::string const prefix = isList(option) ? "'*'" : "'(" + letter + ' ' + option.name + ")'";
    return prefix + '{' + letter + (isFlag(option) ? "" : "+") + ',' + option.name + equals + '}' +
           text;
}

/// Returns the specifications for zsh's _arguments: one for each option and positional argument of
/// a command. The command has no subcommands.
std::string zshArguments(Command const & command)
{
    Texts all = {"'(- *)'{-h,--help}'[Print the help]'"};
    int position = 0;
    for (Option const & option : command.options) {
        if (option.isHidden)
            continue;
        bool const isRest = isPositional(option) && isList(option);
        bool const isCommandLine = completionOf(option) == Completion::Programs;
        ++position;
        if (!isPositional(option)) {
            --position;
            all.push_back(zshOption(option));
        } else if (isRest) {
            all.push_back(quoted((isCommandLine ? "*:" : "*") + zshAction(option, option.name)));
        } else {
            all.push_back(quoted(std::to_string(position) + zshAction(option, option.name)));
        }
    }
    return joined(all, " \\\n            ");
}

/// Returns a zsh function `name` that completes the name of one of the commands, then the arguments
/// of this command. `options` specifies the options before the command, in the form of _arguments.
std::string zshFunction(std::string const & name, std::string const & options,
                        std::vector<Command> const & commands)
{
    std::string descriptions;
    std::string cases;
    std::string functions;
    for (Command const & command : commands) {
        if (command.isHidden)
            continue;
        descriptions += "        " + quoted(command.name + ':' + command.summary) + '\n';
        std::string const nested = name + '_' + replaced(command.name, "-", "_");
        if (command.subcommands.empty()) {
            cases += "    (" + command.name + ")\n        _arguments -s -S \\\n            " +
                     zshArguments(command) + " ;;\n";
        } else {
            cases += "    (" + command.name + ") " + nested + " ;;\n";
            functions +=
                zshFunction(nested, "'(- *)'{-h,--help}'[Print the help]'", command.subcommands);
        }
    }
    return functions + name +
           "() {\n    local context curcontext=$curcontext state state_descr line\n"
           "    typeset -A opt_args\n    local -a commands=(\n" +
           descriptions + "    )\n    _arguments -C -S \\\n        " + options +
           " \\\n        '1:command:->command' '*::argument:->argument' && return\n"
           "    if [[ $state == command ]]; then\n        _describe command commands\n"
           "        return\n    fi\n    case $words[1] in\n" +
           cases + "    esac\n}\n";
}

// fish

/// Quotes a text for fish, which interprets backslashes in single quotes.
std::string fishQuoted(std::string const & text)
{
    return '\'' + replaced(replaced(text, "\\", "\\\\"), "'", "\\'") + '\'';
}

/// Returns the arguments of fish's `complete` for the values of an option.
std::string fishValues(Option const & option)
{
    switch (completionOf(option)) {
    case Completion::Words:
        return " -xa " + fishQuoted(joined(wordsOf(option)));
    case Completion::Files:
        return " -rF";
    case Completion::Folders:
        return " -xa '(__fish_complete_directories)'";
    case Completion::Programs:
        return " -xa '(__fish_complete_subcommand)'";
    case Completion::Nothing:
        break;
    }
    return " -x";
}

std::string fishOption(std::string const & begin, Option const & option)
{
    if (isPositional(option))
        return completionOf(option) == Completion::Nothing ? std::string()
                                                           : begin + fishValues(option) + '\n';
    std::string text = begin + " -l " + option.name.substr(2);
    if (option.letter != 0)
        text += std::string(" -s ") + option.letter;
    if (!isFlag(option))
        text += fishValues(option);
    return text + " -d " + fishQuoted(helpOf(option)) + '\n';
}

/// Returns a line of the fish script for each visible command. Each line begins with `begin`.
std::string fishCommands(std::string const & begin, std::vector<Command> const & commands)
{
    std::string text;
    for (Command const & command : commands) {
        if (!command.isHidden)
            text += begin + " -a " + command.name + " -d " + fishQuoted(command.summary) + '\n';
    }
    return text;
}

constexpr char fishBegin[] = R"(
# Succeeds if the words before the cursor begin with the given commands. After "--alone", no other
# word may follow the commands.
function __oxtool_in
    set -l words (commandline -opc)
    set -e words[1]
    # Skip the options before the command. The options named here have a value; skip it, too.
    while string match -q -- '-*' "$words[1]"
        contains -- "$words[1]" VALUED; and set -e words[2]
        set -e words[1]
    end
    set words (string match -v -- '-*' $words)
    set -l alone
    if test "$argv[1]" = --alone
        set alone 1
        set -e argv[1]
    end
    set -l count (count $argv)
    test (count $words) -ge $count; or return 1
    test -z "$alone" -o (count $words) -eq $count; or return 1
    test $count -eq 0; or test "$words[1..$count]" = "$argv"
end
complete -c oxtool -f
complete -c oxtool -s h -l help -d 'Print the help'
complete -c oxtool -n '__oxtool_in --alone' -l help-all -d 'Print the help of all commands'
complete -c oxtool -n '__oxtool_in --alone' -s V -l version -d 'Print the version'
)";

} // namespace

std::string bashCompletion(Program const & program)
{
    std::string const name = '_' + program.name;
    Texts paths;
    std::string values = bashValueCases({}, program.options);
    std::string cases =
        "    '') options=" + quoted(joined(typedOptions(programOptions, program.options))) +
        " words=" + quoted(joined(namesOf(program.commands))) + " ;;\n";
    for (auto const & [path, command] : visibleCommands(program.commands)) {
        auto const space = path.rfind(' ');
        paths.push_back(space == std::string::npos
                            ? ':' + path
                            : quoted(path.substr(0, space)) + ':' + path.substr(space + 1));
        cases += bashCaseOf(path, *command);
        values += bashValueCases(path, command->options);
    }
    return "# Completion of " + program.name + " for bash.\n" + name + "()\n{\n" + bashBegin +
           "        " + joined(paths, " | ") +
           ") command+=${command:+ }$word ;;\n        esac\n    done\n    case $command in\n" +
           cases + "    esac\n    case $command:$previous in\n" + values + "    esac\n" + bashEnd +
           "complete -F " + name + ' ' + program.name + '\n';
}

std::string zshCompletion(Program const & program)
{
    std::string options = "'(- *)'{-h,--help}'[Print the help]' '(- *)'--help-all'[Print the help "
                          "of all commands]' '(- *)'{-V,--version}'[Print the version]'";
    for (Option const & option : program.options)
        options += ' ' + zshOption(option);
    std::string const name = '_' + program.name;
    return "#compdef " + program.name + '\n' + zshFunction(name, options, program.commands) + name +
           " \"$@\"\n";
}

std::string fishCompletion(Program const & program)
{
    std::string const begin = "complete -c " + program.name + " -n '__oxtool_in";
    Texts valued;
    for (Option const & option : program.options) {
        if (!isFlag(option))
            valued.push_back(option.name);
    }
    std::string text =
        "# Completion of " + program.name + " for fish." +
        replaced(replaced(fishBegin, "VALUED", joined(valued)), "oxtool", program.name);
    for (Option const & option : program.options)
        text += fishOption(begin + " --alone'", option);
    text += fishCommands(begin + " --alone'", program.commands);
    for (auto const & [path, command] : visibleCommands(program.commands)) {
        text += fishCommands(begin + " --alone " + path + "'", command->subcommands);
        for (Option const & option : command->options) {
            if (!option.isHidden)
                text += fishOption(begin + ' ' + path + "'", option);
        }
    }
    return text;
}

} // namespace ox::tool
