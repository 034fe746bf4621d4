#pragma once

#include "oxtool/command_line/command.h"

#include <string>
#include <vector>

namespace ox::tool
{

/// A program with its commands.
struct Program {
    std::string name;
    std::string summary;
    std::string version;
    std::vector<Command> commands;
    /// Options that may also stand before the command. A command with an option of the same name
    /// receives the value; other commands ignore the option.
    std::vector<Option> options = {};
    bool canGenerate = false; ///< adds the hidden command `generate`, see writeGeneratedFiles()
};

/// Parses the arguments (without the program's name), runs the selected command, and returns its
/// exit status. Writes help to standard output. For wrong arguments it runs nothing, writes a
/// message to standard error and returns `WrongUse`. Exceptions of the command propagate.
int runCommandLine(Program const & program, std::vector<std::string> arguments);

} // namespace ox::tool
