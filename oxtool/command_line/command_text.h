#pragma once

#include "oxtool/command_line/command.h"

#include <string>

// Texts about commands and options that the help, its JSON, the manual pages and the completions
// share.

namespace ox::tool
{

/// Visitor for std::visit, made of one lambda for each type of the variant.
template <typename... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
// Clang before version 17 needs this deduction guide.
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

/// Meanings of the exit statuses 0, 1, 2 and so on, as the help prints them.
inline constexpr char const * exitStatusTexts[] = {"done",    "failed", "wrong use",
                                                   "damaged", "locked", "missing"};

/// All groups in the order of the overview.
inline constexpr Group groups[] = {Group::Files,   Group::Locks,     Group::BufferFiles,
                                   Group::Machine, Group::Diagnosis, Group::Help};

/// Returns the heading of a group in the overview.
char const * titleOf(Group group);

bool isPositional(Option const & option);
/// Returns whether an option takes no value.
bool isFlag(Option const & option);
/// Returns whether an option may be given several times, or a positional argument may have several
/// values.
bool isList(Option const & option);
bool isDuration(Option const & option);
bool isAge(Option const & option);

/// Returns the names of an option in the form of CLI11: "-o,--out".
std::string namesOf(Option const & option);
/// Returns the default of an option: "10s"; empty if it has none.
std::string defaultOf(Option const & option);
/// Returns the help of an option: "Maximum wait for the lock (default 10s)".
std::string helpOf(Option const & option);
/// Returns the details of a command. If an option is a duration or an age, the text ends with
/// sentences about the units.
std::string detailsOf(Command const & command);
/// Returns a duration as a whole number of the largest possible unit: "1500ms", "5s".
std::string durationText(int ms);

/// Returns the command line with all visible options: "oxtool ls [--ends ENDING]... FOLDER". `path`
/// is the program with the command and subcommand: "oxtool shm show".
std::string synopsisOf(std::string const & path, Command const & command);

/// What a shell completes as the value of an option or as a positional argument.
enum class Completion { Nothing, Words, Files, Folders, Programs };
/// Returns the completion of an option. The name of the option's value, such as FOLDER or
/// BUFFER_FILE, determines whether a shell completes files or folders.
Completion completionOf(Option const & option);
/// Returns the values that a shell completes for `Completion::Words`.
std::vector<std::string> const & wordsOf(Option const & option);

/// A command with its full name, such as "shm show".
struct NamedCommand {
    std::string path;
    Command const * command;
};
/// Returns the visible commands and their subcommands in the order of the overview.
std::vector<NamedCommand> visibleCommands(std::vector<Command> const & commands);

} // namespace ox::tool
