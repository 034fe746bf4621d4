#pragma once

#include "oxtool/command_line/command_line.h"

#include <map>
#include <string>

namespace ox::tool
{

/// Returns the manual pages by their file names: that of the program, "oxtool.1", and one of each
/// visible command, "oxtool-ls.1", which contains its subcommands.
std::map<std::string, std::string> manPages(Program const & program);

} // namespace ox::tool
