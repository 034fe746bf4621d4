#pragma once

/// Runs the action `word` of this system. Returns false if this system has no such action.
bool doSystemWord(char const * word);

/// Calls the exception filter with the code of a division by zero and the context of this thread.
/// Returns whether the filter's message is the text for this code.
bool dumpForException();

/// Installs a crash handler before the library installs its own. The handler ends the process with
/// exit code 17.
void installEarlierHandler();
