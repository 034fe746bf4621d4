#pragma once

/// Runs an action that exists on one system only. Returns false for an unknown word.
bool doSystemWord(char const * word);

/// Calls the exception filter with an exception of the code for a division, in the context of this
/// thread. Returns whether the message of the filter is the sentence for this code.
bool dumpForException();

/// Installs a crash handler before that of the library. It ends the process with exit code 17.
void installEarlierHandler();
