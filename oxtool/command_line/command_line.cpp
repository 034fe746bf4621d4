#include "oxtool/command_line/command_line.h"

#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/report.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <limits>
#include <map>
#include <sstream>

namespace ox::tool
{

Range atLeast(int least)
{
    return {static_cast<double>(least), std::numeric_limits<int>::max()};
}

namespace
{

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
    }
    return "";
}

template <typename... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
// Clang before version 17 does not deduce it.
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

bool isPositional(Option const & option)
{
    return !option.name.starts_with("--");
}

std::string namesOf(Option const & option)
{
    if (option.letter == 0)
        return option.name;
    return std::string("-") + option.letter + "," + option.name;
}

std::string defaultOf(Option const & option)
{
    return std::visit(Overloaded{[](int * number) { return std::to_string(*number); },
                                 [](double * number) {
                                     std::ostringstream text;
                                     text << *number;
                                     return text.str();
                                 },
                                 [](std::string * text) { return *text; },
                                 [](QString * text) { return text->toStdString(); },
                                 [](auto const &) { return std::string(); }},
                      option.target);
}

/// Returns the help of an option: "Maximum wait for the lock (ms, default 10000)".
std::string helpOf(Option const & option)
{
    std::string remark = option.unit;
    if (option.showsDefault)
        remark += (remark.empty() ? "default " : ", default ") + defaultOf(option);
    return remark.empty() ? option.help : option.help + " (" + remark + ")";
}

std::string footerOf(Command const & command)
{
    std::string text = command.details;
    if (command.examples.empty())
        return text;
    text += text.empty() ? "Examples:" : "\n\nExamples:";
    for (std::string const & example : command.examples)
        text += "\n  " + example;
    return text + "\n";
}

/// Returns the message about a number outside of a range; empty for one inside.
std::string checkRange(Range const & range, std::string & text)
{
    if (CLI::Range(range.least, range.most)(text).empty())
        return {};
    return "'" + text + "' is not a number from " +
           std::to_string(static_cast<long long>(range.least)) + " to " +
           std::to_string(static_cast<long long>(range.most));
}

/// Returns the message about a value that is not one of the choices; empty for one that is.
std::string checkChoice(std::vector<std::string> const & choices, std::string const & text)
{
    if (std::find(choices.begin(), choices.end(), text) != choices.end())
        return {};
    std::string message = "'" + text + "' is not one of";
    for (std::string const & choice : choices)
        message += (choice == choices.front() ? " " : ", ") + choice;
    return message;
}

class Parser
{
  public:
    explicit Parser(Program const & program) : app_(program.summary, program.name)
    {
        app_.require_subcommand(1);
        // An argument such as //farm/share is a path, also on Windows.
        app_.allow_windows_style_options(false);
        app_.get_formatter()->label("SUBCOMMAND", "COMMAND");
        app_.set_help_flag("-h,--help", "Print this help");
        app_.set_help_all_flag("--help-all", "Print the help of all commands");
        app_.set_version_flag("--version", program.version, "Print the version");
        app_.footer("'" + program.name +
                    " COMMAND --help' prints the arguments and an example of a command.\n\n" +
                    "Exit status: 0 done, 1 failed, 2 wrong use, 3 damaged, 4 locked, 5 missing\n");
        for (Command const & command : program.commands)
            add(app_, command).group(titleOf(command.group));
    }

    /// Returns the selected command. Returns null for help and for wrong arguments, and sets the
    /// exit status.
    Command const * parse(std::vector<std::string> arguments, int & status)
    {
        std::reverse(arguments.begin(), arguments.end());
        try {
            app_.parse(arguments);
            return selected_;
        } catch (CLI::ParseError const & error) {
            status = handle(error);
            return nullptr;
        }
    }

  private:
    CLI::App & add(CLI::App & parent, Command const & command)
    {
        CLI::App & app = *parent.add_subcommand(command.name, command.summary);
        app.footer(footerOf(command));
        std::map<std::string, CLI::Option *> added;
        for (Option const & option : command.options)
            added[option.name] = &add(app, option);
        for (Option const & option : command.options) {
            if (!option.needs.empty())
                added[option.name]->needs(added.at(option.needs));
            if (!option.excludes.empty())
                added[option.name]->excludes(added.at(option.excludes));
        }
        for (Command const & subcommand : command.subcommands)
            add(app, subcommand);
        if (!command.subcommands.empty())
            app.require_subcommand(1);
        else
            app.callback([this, &command] { selected_ = &command; });
        return app;
    }

    static CLI::Option & add(CLI::App & app, Option const & option)
    {
        CLI::Option & added = declare(app, option);
        added.description(helpOf(option))->required(option.isRequired);
        if (!std::holds_alternative<bool *>(option.target))
            added.type_name(option.valueName);
        if (option.isHidden)
            added.group("");
        if (option.range)
            added.check(
                [range = *option.range](std::string text) { return checkRange(range, text); });
        if (!option.choices.empty())
            added.check(
                [&option](std::string const & text) { return checkChoice(option.choices, text); });
        return added;
    }

    static CLI::Option & declare(CLI::App & app, Option const & option)
    {
        std::string const names = namesOf(option);
        auto const once = [](CLI::Option * repeated) {
            return repeated->type_size(1)->allow_extra_args(false);
        };
        return *std::visit(
            Overloaded{
                [&](bool * flag) { return app.add_flag(names, *flag); },
                [&](std::vector<std::string> * list) {
                    CLI::Option * const added = app.add_option(names, *list);
                    return isPositional(option) ? added : once(added);
                },
                [&](QString * value) {
                    return app.add_option_function<std::string>(
                        names, [value](std::string const & text) { *value = fromArgument(text); });
                },
                [&](std::vector<QString> * list) {
                    CLI::Option * const added = app.add_option_function<std::vector<std::string>>(
                        names, [list](std::vector<std::string> const & texts) {
                            for (std::string const & text : texts)
                                list->push_back(fromArgument(text));
                        });
                    return isPositional(option) ? added : once(added);
                },
                [&](std::span<int> numbers) {
                    return app
                        .add_option_function<std::vector<int>>(
                            names,
                            [numbers](std::vector<int> const & given) {
                                std::copy(given.begin(), given.end(), numbers.begin());
                            })
                        ->expected(static_cast<int>(numbers.size()));
                },
                [&](ParseValue const & parse) {
                    return once(app.add_option_function<std::vector<std::string>>(
                        names, [&option, &parse](std::vector<std::string> const & texts) {
                            for (std::string const & text : texts) {
                                if (!parse(fromArgument(text)))
                                    throw CLI::ValidationError(
                                        option.name, "'" + text + "' does not have the form " +
                                                         option.valueName);
                            }
                        }));
                },
                [&](auto * value) { return app.add_option(names, *value); }},
            option.target);
    }

    std::string messageOf(CLI::ParseError const & error) const
    {
        // CLI11 reports an unknown command as a missing one.
        std::vector<std::string> const unknown = app_.remaining();
        if (!unknown.empty() && app_.get_subcommands().empty())
            return "unknown command '" + unknown.front() + "'";
        std::string const text = error.what();
        if (text == "A subcommand is required")
            return "missing command";
        auto const isA = [&error](CLI::ExitCodes code) {
            return error.get_exit_code() == static_cast<int>(code);
        };
        auto const colon = text.find(": ");
        if (colon == std::string::npos)
            return text;
        if (isA(CLI::ExitCodes::ExtrasError))
            return "unexpected argument" + text.substr(colon);
        if (text.starts_with("Could not convert"))
            return "invalid value" + text.substr(colon);
        if (isA(CLI::ExitCodes::ArgumentMismatch))
            return text.substr(0, colon) + ": wrong number of values";
        return text;
    }

    /// Returns the command line that prints the help of the given command.
    std::string helpCommand() const
    {
        std::string line = app_.get_name();
        for (auto given = app_.get_subcommands(); !given.empty();
             given = given.front()->get_subcommands())
            line += ' ' + given.front()->get_name();
        return line + " --help";
    }

    /// Writes the help, or the message about wrong arguments. Returns the exit status.
    int handle(CLI::ParseError const & error)
    {
        if (error.get_exit_code() != 0) {
            writeError(fromArgument(messageOf(error)));
            writeError(fromArgument("run '" + helpCommand() + "' for the arguments"));
            return WrongUse;
        }
        std::ostringstream text;
        app_.exit(error, text, text);
        std::string const bytes = text.str();
        writeOutput(bytes.data(), static_cast<qint64>(bytes.size()));
        return Done;
    }

    CLI::App app_;
    Command const * selected_ = nullptr;
};

} // namespace

int runCommandLine(Program const & program, std::vector<std::string> arguments)
{
    int status = Done;
    Command const * const command = Parser(program).parse(std::move(arguments), status);
    return command ? command->run() : status;
}

} // namespace ox::tool
