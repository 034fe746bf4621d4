#pragma once

#include "shared/platform/open_file.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace ox::platform
{

/// Whether somebody reads this stream as it is written; false for a file and a pipe.
bool isTerminal(std::FILE * stream);

/// Makes the standard output carry bytes as they are written, the terminal obey escape sequences,
/// and a write to a pipe that nobody reads any more or beyond the largest file allowed fail, where
/// the system would end the process without a word. A stream that the process was started without
/// stays unusable, and no file that is opened later takes its place.
void prepareStandardStreams();

/// The standard input as an open file, which begins where it was read to.
Result<OpenFile> openStandardInput();

/// The program's arguments without its name, in UTF-8. Bytes that the system did not give as UTF-8
/// are passed on as they are.
std::vector<std::string> utf8Arguments(int argc, char ** argv);

/// The UTF-16 of such an argument, of which nativeName makes the file name that the user gave.
std::u16string argumentText(std::string_view argument);

/// The name the current user logged on with, in UTF-8. Empty when the system knows none.
std::string userName();

} // namespace ox::platform
