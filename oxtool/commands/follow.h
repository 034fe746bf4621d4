#pragma once

#include "oxtool/command_line/command.h"

#include <QString>

#include <vector>

// Functions of the command `follow`. `resume --follow` uses them, too.

namespace ox::tool
{

struct FollowOptions {
    QString file;
    QString copy; ///< empty for the standard output
    int intervalMs = 1000;
    int idleMs = 0;
    bool all = false;
    bool json = false;
};

/// Returns the options --interval and --idle.
std::vector<Option> followTimes(FollowOptions & options);

/// Shows or copies the bytes that are appended to a file, until the file has not grown for the time
/// of --idle. Returns the exit status.
int follow(FollowOptions const & options);

} // namespace ox::tool
