#pragma once

#include "oxtool/command_line/command_line.h"

#include <map>
#include <string>

namespace ox::tool
{

/// Returns the content of each manual page by its file name: "oxtool.1" for the program, and a page
/// such as "oxtool-ls.1" for each visible command with its subcommands.
std::map<std::string, std::string> manPages(Program const & program);

} // namespace ox::tool
