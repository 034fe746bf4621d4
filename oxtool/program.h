#pragma once

namespace ox::tool
{

/// Runs the command that the arguments of main() name. Returns the exit status of the process.
int runProgram(int argc, char ** argv);

} // namespace ox::tool
