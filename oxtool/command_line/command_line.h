#pragma once

#include "oxtool/command_line/command.h"

#include <string>
#include <vector>

namespace ox::tool
{

/// The program that the commands belong to.
struct Program {
    std::string name;
    std::string summary;
    std::string version;
    std::vector<Command> commands;
};

/// Reads the arguments (without the program's name), runs the command that they choose, and returns
/// its exit status. Help goes to standard output. Wrong use goes to standard error, and `WrongUse`
/// is returned; nothing has run then. What the command throws is passed on.
int runCommandLine(Program const & program, std::vector<std::string> arguments);

} // namespace ox::tool
