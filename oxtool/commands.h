#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace ox::tool
{

/// Runs the chosen command. Returns the exit status; throws Failure.
using Run = std::function<int()>;

// Each adds one command with its options to the program; the command sets `run` when it is chosen.
void addRefresh(CLI::App & program, Run & run);
void addPack(CLI::App & program, Run & run);
void addUnpack(CLI::App & program, Run & run);
void addInspect(CLI::App & program, Run & run);
void addLock(CLI::App & program, Run & run);
void addCrc(CLI::App & program, Run & run);
void addCopy(CLI::App & program, Run & run);
void addResume(CLI::App & program, Run & run);
void addReplace(CLI::App & program, Run & run);
void addInfo(CLI::App & program, Run & run);
void addLayout(CLI::App & program, Run & run);
void addSync(CLI::App & program, Run & run);
void addCrashTest(CLI::App & program, Run & run);
void addPs(CLI::App & program, Run & run);
void addTop(CLI::App & program, Run & run);
void addShm(CLI::App & program, Run & run);
void addList(CLI::App & program, Run & run);
void addEmpty(CLI::App & program, Run & run);

/// The check of an option whose value is a whole number from `least` on.
CLI::Validator atLeast(int least);

// Options that several commands have.
CLI::Option * addJson(CLI::App & command, bool & json);
CLI::Option * addFormat(CLI::App & command, std::string & format);
CLI::Option * addTimeout(CLI::App & command, int & timeoutMs);

} // namespace ox::tool
