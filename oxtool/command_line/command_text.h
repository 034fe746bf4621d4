#pragma once

#include "oxtool/command_line/command.h"

#include <string>

// The parts of commands and options as text, which the help, the pages and the completions share.

namespace ox::tool
{

/// A visitor of a variant, made of one lambda for each type.
template <typename... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
// Clang before version 17 does not deduce the types of the lambdas without this guide.
template <typename... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

/// Exit statuses of the program from 0 on.
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
/// Returns whether an option may be given several times, or a positional argument has several
/// values.
bool isList(Option const & option);
bool isDuration(Option const & option);

/// Returns the names of an option for the argument library: "-o,--out".
std::string namesOf(Option const & option);
/// Returns the help of an option: "Maximum wait for the lock (default 10s)".
std::string helpOf(Option const & option);
/// Returns the details of a command, with a sentence about durations if it has one.
std::string detailsOf(Command const & command);
/// Returns a duration with the largest unit that has no fraction: "1500ms", "5s".
std::string durationText(int ms);

/// Returns the command line with all visible options: "oxtool ls [--ends ENDING]... FOLDER". `path`
/// is the name of the program with those of the commands.
std::string synopsisOf(std::string const & path, Command const & command);

/// What a shell completes as the value of an option or as a positional argument.
enum class Completion { Nothing, Words, Files, Folders, Programs };
/// Returns the completion, by the name of the value: FOLDER, BUFFER_FILE.
Completion completionOf(Option const & option);
/// Returns the values of `Completion::Words`.
std::vector<std::string> const & wordsOf(Option const & option);

/// A command with its whole name ("shm show").
struct NamedCommand {
    std::string path;
    Command const * command;
};
/// Returns the visible commands and their subcommands in the order of the overview.
std::vector<NamedCommand> visibleCommands(std::vector<Command> const & commands);

} // namespace ox::tool
