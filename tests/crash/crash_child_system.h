#pragma once

/// What only one of the systems can do. False when the word means nothing to it.
bool doSystemWord(char const * word);

/// Calls the exception filter with an exception of the code for a division, as this thread is now.
/// Whether the filter's message is the sentence for it.
bool dumpForException();

/// A handler of crashes that is there before the library's; it ends the process with 17.
void installEarlierHandler();
