#pragma once

#include "oxtool/command_line/command.h"

#include <QJsonArray>

#include <string>
#include <vector>

namespace ox::tool
{

/// Returns an object for each visible command and subcommand, in the order of the overview. If
/// `path` is not empty, returns only the command of this full name, such as "shm", and its
/// subcommands.
QJsonArray commandsAsJson(std::vector<Command> const & commands, std::string const & path);

} // namespace ox::tool
