#include "oxtool/command_line/command_line.h"

#include "oxtool/command_line/command_json.h"
#include "oxtool/command_line/command_text.h"
#include "oxtool/command_line/generated_files.h"
#include "oxtool/command_line/nearest.h"
#include "oxtool/support/duration.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/names.h"
#include "oxtool/support/report.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <limits>
#include <map>
#include <memory>
#include <sstream>
#include <utility>

namespace ox::tool
{

Range atLeast(int least)
{
    return {static_cast<double>(least), std::numeric_limits<int>::max()};
}

namespace
{

std::string footerOf(Command const & command)
{
    std::string text = detailsOf(command);
    if (command.examples.empty())
        return text;
    text += text.empty() ? "Examples:" : "\n\nExamples:";
    for (std::string const & example : command.examples)
        text += "\n  " + example;
    return text + "\n";
}

/// Returns an error message if `text` is not a number in the range, otherwise an empty text.
std::string checkRange(Range const & range, std::string & text)
{
    if (CLI::Range(range.least, range.most)(text).empty())
        return {};
    return "'" + text + "' is not a number from " +
           std::to_string(static_cast<long long>(range.least)) + " to " +
           std::to_string(static_cast<long long>(range.most));
}

/// Parses a duration into `value`, in ms. Returns an error message if `text` is not a duration or
/// is outside of the option's range, otherwise an empty text.
std::string parseMilliseconds(Option const & option, std::string const & text, int & value)
{
    auto const duration = parseDuration(fromArgument(text), std::chrono::milliseconds(1));
    double const ms = duration ? static_cast<double>(duration->count()) : -1;
    if (!duration)
        return "'" + text + "' is not a duration such as 250ms, 5s, 10min or 2h";
    Range const range = option.range.value_or(atLeast(0));
    if (ms < range.least || ms > range.most)
        return "'" + text + "' is not a duration from " +
               durationText(static_cast<int>(range.least)) + " to " +
               durationText(static_cast<int>(range.most));
    value = static_cast<int>(ms);
    return {};
}

/// Parses an age into `value`. Returns an error message if `text` is not an age, otherwise an empty
/// text.
std::string parseAge(std::string const & text, std::optional<std::chrono::milliseconds> & value)
{
    value = parseDuration(fromArgument(text), std::chrono::seconds(1));
    return value ? std::string() : "'" + text + "' is not an age such as 90s, 10min, 2h or 7d";
}

/// Returns the last line of the overview: "Exit status: 0 done, 1 failed, …".
std::string exitStatusLine()
{
    std::string line;
    int number = 0;
    for (char const * const text : exitStatusTexts) {
        line += (number == 0 ? "Exit status: " : ", ") + std::to_string(number) + ' ' + text;
        ++number;
    }
    return line + '\n';
}

/// Returns whether the arguments contain --json. If so, a message about wrong use is also written
/// as JSON.
bool wantsJson(std::vector<std::string> const & arguments)
{
    auto const end = std::ranges::find(arguments, "--");
    return std::find(arguments.begin(), end, "--json") != end;
}

using Arguments = std::vector<std::string>;

bool hasOption(std::vector<Option> const & options, std::string const & argument)
{
    std::string const name = argument.substr(0, argument.find('='));
    return std::ranges::find(options, name, &Option::name) != options.end();
}

/// If the argument at `at` is one of `options`, returns the position after the option and its
/// value. Otherwise returns `at`.
Arguments::const_iterator endOfOption(std::vector<Option> const & options,
                                      Arguments::const_iterator at, Arguments::const_iterator end)
{
    if (at == end || !hasOption(options, *at))
        return at;
    auto const named = std::ranges::find(options, *at, &Option::name);
    bool const hasNext = named != options.end() && !isFlag(*named) && at + 1 != end;
    return at + (hasNext ? 2 : 1);
}

/// Moves options from the place before the command to the place after it. An option that the
/// command does not have stays before the command.
Arguments withOptionsBehindCommand(Program const & program, Arguments const & arguments)
{
    auto const skip = [&program](auto at, auto end) {
        return endOfOption(program.options, at, end);
    };
    auto command = arguments.begin();
    for (auto next = skip(command, arguments.end()); next != command;
         next = skip(command, arguments.end()))
        command = next;
    auto end = command;
    std::vector<Option> const * options = nullptr;
    auto const * commands = &program.commands;
    for (; end != arguments.end(); ++end) {
        auto const found = std::ranges::find(*commands, *end, &Command::name);
        if (found == commands->end())
            break;
        options = &found->options;
        commands = &found->subcommands;
    }
    if (!options)
        return arguments;
    Arguments kept;
    Arguments moved;
    for (auto at = arguments.begin(); at != command;) {
        auto const next = skip(at, command);
        Arguments & place = hasOption(*options, *at) ? moved : kept;
        place.insert(place.end(), at, next);
        at = next;
    }
    kept.insert(kept.end(), command, end);
    kept.insert(kept.end(), moved.begin(), moved.end());
    kept.insert(kept.end(), end, arguments.end());
    return kept;
}

/// Returns "; did you mean 'NAME'?" with the name nearest to `given`; empty if no name is near.
std::string suggestion(std::string const & given, std::vector<std::string> const & names)
{
    std::string const nearest = nearestName(given, names);
    return nearest.empty() ? std::string() : "; did you mean '" + nearest + "'?";
}

/// Appends a NUL character to each argument in brackets. Without it CLI11 would split the argument
/// "[a,b]" into "a" and "b". An argument of the user never contains NUL.
void maskBrackets(std::vector<std::string> & arguments)
{
    for (std::string & argument : arguments) {
        if (argument.size() > 1 && argument.front() == '[' && argument.back() == ']')
            argument += '\0';
    }
}

/// Returns an argument, or a message with an argument, without the NUL that maskBrackets() appends.
std::string unmasked(std::string text)
{
    std::erase(text, '\0');
    return text;
}

/// Returns an error message if `text` is not one of the choices, otherwise an empty text.
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
    explicit Parser(Program program)
        : program_(std::move(program)), app_(program_.summary, program_.name)
    {
        program_.commands.push_back(helpCommand());
        program_.commands.push_back(versionCommand());
        if (program_.canGenerate)
            program_.commands.push_back(generateCommand());
        std::ranges::stable_sort(program_.commands, {}, [](Command const & command) {
            return std::ranges::find(groups, command.group) - std::begin(groups);
        });
        app_.require_subcommand(1);
        // An argument such as //farm/share is a path and not an option, also on Windows.
        app_.allow_windows_style_options(false);
        app_.get_formatter()->label("SUBCOMMAND", "COMMAND");
        app_.set_help_flag("-h,--help", "Print this help");
        app_.set_help_all_flag("--help-all", "Print the help of all commands");
        app_.set_version_flag("-V,--version", program_.version, "Print the version");
        app_.footer("'" + program_.name +
                    " help COMMAND' prints the arguments and an example of a command.\n\n" +
                    exitStatusLine());
        for (Option const & option : program_.options)
            add(app_, option);
        for (Command const & command : program_.commands)
            add(app_, command).group(command.isHidden ? "" : titleOf(command.group));
    }
    Parser(Parser const &) = delete;
    Parser & operator=(Parser const &) = delete;

    /// Returns the selected command. Returns null for help and for wrong arguments, and sets the
    /// exit status.
    Command const * parse(std::vector<std::string> arguments, int & status)
    {
        isJson_ = wantsJson(arguments);
        arguments = withOptionsBehindCommand(program_, arguments);
        maskBrackets(arguments);
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
    Command helpCommand()
    {
        auto const path = std::make_shared<std::vector<std::string>>();
        auto const json = std::make_shared<bool>(false);
        std::vector<std::string> names;
        names.reserve(program_.commands.size());
        for (Command const & command : program_.commands)
            names.push_back(command.name);
        return {.name = "help",
                .group = Group::Help,
                .summary = "Print the help of a command, or the overview",
                .options = {{.name = "COMMAND",
                             .help = "Command, with its subcommand if it has one",
                             .target = path.get(),
                             .suggestions = names},
                            {.name = "--json",
                             .help = "Print the descriptions of the commands as one JSON object",
                             .target = json.get()}},
                .examples = {program_.name + " help lock", program_.name + " help --json"},
                .run = [this, path, json] { return printHelp(*path, *json); }};
    }

    Command versionCommand() const
    {
        auto const json = std::make_shared<bool>(false);
        return {.name = "version",
                .group = Group::Help,
                .summary = "Print the version",
                .options = {{.name = "--json",
                             .help = "Print the result as one JSON object",
                             .target = json.get()}},
                .examples = {program_.name + " version"},
                .run = [this, json] {
                    return runReported(*json, [this](Report & report) {
                        QString const version = QString::fromStdString(program_.version);
                        report.set(QStringLiteral("version"), version);
                        report.text(version);
                    });
                }};
    }

    /// Returns the hidden command `generate`. The build runs it to write man pages and completions.
    Command generateCommand() const
    {
        auto const folder = std::make_shared<QString>();
        return {.name = "generate",
                .summary = "Write the manual pages and the completions for shells to a folder",
                .options = {{.name = "FOLDER",
                             .help = "Folder to write to",
                             .target = folder.get(),
                             .isRequired = true}},
                .run =
                    [this, folder] {
                        writeGeneratedFiles(program_, *folder);
                        return int{Done};
                    },
                .isHidden = true};
    }

    int printHelp(std::vector<std::string> const & path, bool asJson)
    {
        CLI::App * app = &app_;
        std::string parents;
        std::string command;
        for (std::string const & name : path) {
            auto const found = app->get_subcommands(
                [&name](CLI::App const * each) { return each->get_name() == name; });
            parents += (parents.empty() ? "" : " ") + app->get_name();
            if (found.empty())
                return reportWrongUse(unknownCommand(*app, name), parents + " --help");
            app = found.front();
            command += (command.empty() ? "" : " ") + name;
        }
        if (asJson)
            return runReported(true, [&](Report & report) {
                report.set(QStringLiteral("commands"), commandsAsJson(program_.commands, command));
            });
        // CLI::App::help() would print the help of the selected command, the command "help" itself.
        std::string const name = (parents.empty() ? "" : parents + ' ') + app->get_name();
        print(app->get_formatter()->make_help(app, name, CLI::AppFormatMode::Normal));
        return Done;
    }

    static void print(std::string const & bytes)
    {
        writeOutput(bytes.data(), static_cast<qint64>(bytes.size()));
    }

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
        if (option.range && !isDuration(option))
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
        // `parse` returns an error message for a wrong value, otherwise an empty text.
        auto const parsed = [&](auto const & parse) {
            return app.add_option_function<std::string>(
                names, [&option, parse](std::string const & text) {
                    std::string const message = parse(text);
                    if (!message.empty())
                        throw CLI::ValidationError(option.name, message);
                });
        };
        return *std::visit(
            Overloaded{
                [&](bool * flag) { return app.add_flag(names, *flag); },
                [&](std::vector<std::string> * list) {
                    CLI::Option * const added = app.add_option_function<std::vector<std::string>>(
                        names, [list](std::vector<std::string> const & texts) {
                            for (std::string const & text : texts)
                                list->push_back(unmasked(text));
                        });
                    return isPositional(option) ? added : once(added);
                },
                [&](std::string * value) {
                    return app.add_option_function<std::string>(
                        names, [value](std::string const & text) { *value = unmasked(text); });
                },
                [&](QString * value) {
                    return app.add_option_function<std::string>(
                        names, [value](std::string const & text) {
                            *value = fromArgument(unmasked(text));
                        });
                },
                [&](std::vector<QString> * list) {
                    CLI::Option * const added = app.add_option_function<std::vector<std::string>>(
                        names, [list](std::vector<std::string> const & texts) {
                            for (std::string const & text : texts)
                                list->push_back(fromArgument(unmasked(text)));
                        });
                    return isPositional(option) ? added : once(added);
                },
                [&](Milliseconds duration) {
                    return parsed([&option, duration](std::string const & text) {
                        return parseMilliseconds(option, text, *duration.value);
                    });
                },
                [&](Age age) {
                    return parsed(
                        [age](std::string const & text) { return parseAge(text, *age.value); });
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
                [&](ParseValue parse) {
                    return once(app.add_option_function<std::vector<std::string>>(
                        names, [&option, parse](std::vector<std::string> const & texts) {
                            for (std::string const & text : texts) {
                                if (!parse(fromArgument(unmasked(text))))
                                    throw CLI::ValidationError(
                                        option.name, "'" + text + "' does not have the form " +
                                                         option.valueName);
                            }
                        }));
                },
                [&](auto * value) { return app.add_option(names, *value); }},
            option.target);
    }

    /// Returns the message about an unknown command. `app` is the program, or the command that has
    /// no subcommand of this name.
    std::string unknownCommand(CLI::App const & app, std::string const & name) const
    {
        std::string const parent = &app == &app_ ? std::string() : app.get_name() + ' ';
        std::vector<std::string> names;
        for (CLI::App const * const each : app.get_subcommands(isVisible))
            names.push_back(parent + each->get_name());
        return "unknown command '" + parent + name + "'" + suggestion(parent + name, names);
    }

    static bool isVisible(CLI::App const * app) { return !app->get_group().empty(); }

    /// Returns the message about an unknown option of the command `app`.
    static std::string unknownOption(CLI::App const & app, std::string const & option)
    {
        std::vector<std::string> names;
        for (CLI::Option const * const each : app.get_options()) {
            for (std::string const & name : each->get_lnames())
                names.push_back("--" + name);
        }
        return "unknown option '" + option + "'" +
               suggestion(option.substr(0, option.find('=')), names);
    }

    static bool isOption(std::string const & argument)
    {
        return argument.size() > 1 && argument.starts_with('-') && argument != "--";
    }

    /// Returns whether the first unknown argument stands where `app` expects a command.
    bool isUnknownCommand(CLI::App const & app) const
    {
        std::vector<std::string> const unknown = app_.remaining(true);
        return !unknown.empty() && !isOption(unknown.front()) &&
               !app.get_subcommands(isVisible).empty();
    }

    std::string messageOf(CLI::ParseError const & error) const
    {
        CLI::App const & app = selectedApp();
        // CLI11 reports an unknown command as a missing command, and does not report an unknown
        // option if an argument is missing. So the messages about both are built here.
        std::vector<std::string> const unknown = app_.remaining(true);
        if (isUnknownCommand(app))
            return unknownCommand(app, unknown.front());
        auto const option = std::ranges::find_if(unknown, isOption);
        if (option != unknown.end())
            return unknownOption(app, *option);
        std::string text = error.what();
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

    /// Returns the command or subcommand that the arguments select. Without a command, returns the
    /// program.
    CLI::App const & selectedApp() const
    {
        CLI::App const * app = &app_;
        while (!app->get_subcommands().empty())
            app = app->get_subcommands().front();
        return *app;
    }

    /// Returns the command line that prints the help of the selected command.
    std::string helpLine() const
    {
        std::string line = app_.get_name();
        for (auto given = app_.get_subcommands(); !given.empty();
             given = given.front()->get_subcommands())
            line += ' ' + given.front()->get_name();
        return line + " --help";
    }

    int reportWrongUse(std::string const & message, std::string const & helpLine) const
    {
        writeError(fromArgument(message));
        writeError(fromArgument("run '" + helpLine + "' for the arguments"));
        Report(isJson_).finish(fromArgument(message));
        return WrongUse;
    }

    /// Writes the help, or the message about wrong arguments. Returns the exit status.
    int handle(CLI::ParseError const & error)
    {
        if (error.get_exit_code() != 0 || isUnknownCommand(selectedApp()))
            return reportWrongUse(unmasked(messageOf(error)), helpLine());
        std::ostringstream text;
        app_.exit(error, text, text);
        print(text.str());
        return Done;
    }

    Program program_;
    bool isJson_ = false;
    CLI::App app_;
    Command const * selected_ = nullptr;
};

} // namespace

int runCommandLine(Program const & program, std::vector<std::string> arguments)
{
    int status = Done;
    Parser parser(program);
    Command const * const command = parser.parse(std::move(arguments), status);
    return command ? command->run() : status;
}

} // namespace ox::tool
