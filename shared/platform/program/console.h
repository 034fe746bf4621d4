#pragma once

#include "shared/platform/open_file.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace ox::platform
{

/// Returns whether a stream is a terminal.
bool isTerminal(std::FILE * stream);

/// Prepares the standard streams of a program. Standard input and output transfer bytes unchanged.
/// The terminal interprets UTF-8 and escape sequences. A write to a closed pipe, or beyond the
/// maximum file size, returns an error and does not end the process. A standard stream that is
/// closed at the start of the process stays unusable, and no file that is opened later gets the
/// descriptor number of the stream.
void prepareStandardStreams();

/// Returns the standard input as an open file, at its current position.
Result<OpenFile> openStandardInput();

/// Returns the arguments of the program without its name, in UTF-8. On Linux bytes that are not
/// UTF-8 stay unchanged.
std::vector<std::string> utf8Arguments(int argc, char ** argv);

/// Converts an argument from utf8Arguments to UTF-16. If the argument is a file name, nativeName
/// converts the result to exactly the name that the user has given.
std::u16string argumentText(std::string_view argument);

/// Returns the login name of the current user in UTF-8; empty if it is not known.
std::string userName();

} // namespace ox::platform
