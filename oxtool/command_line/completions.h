#pragma once

#include "oxtool/command_line/command_line.h"

#include <string>

namespace ox::tool
{

/// Return the scripts that complete the program's commands, options, values and files in a shell.
std::string bashCompletion(Program const & program);
std::string zshCompletion(Program const & program);
std::string fishCompletion(Program const & program);

} // namespace ox::tool
