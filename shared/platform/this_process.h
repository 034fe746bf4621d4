#pragma once

#include "shared/platform/result.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ox::platform
{

/// Number of this system in the farm's records: 1 Windows, 2 Linux.
#ifdef _WIN32
inline constexpr int ownSystem = 1;
#else
inline constexpr int ownSystem = 2;
#endif

/// Returns the entries of the process's environment, each as "NAME=value".
std::vector<std::u16string> environmentBlock();

/// Returns the value of an environment variable; empty if it is not set.
std::optional<std::u16string> environmentVariable(std::u16string_view name);

/// Sleeps for at least this many milliseconds; a signal does not end the sleep.
void sleepMilliseconds(int milliseconds);

/// Returns the full path of the running executable.
Result<std::u16string> executablePath();

/// Returns the full path of `file`, which is a program argument. A relative path is resolved
/// against the current folder.
/// Fails: when the current folder no longer exists.
Result<std::u16string> absolutePath(char const * file);

/// Returns the full path of a UTF-16 name; nativeName converts the result to a name of that file.
/// Fails: when the current folder no longer exists.
Result<std::u16string> absolutePath(std::u16string_view name);

/// Returns the system's folder for temporary files. On Linux this is the value of TMPDIR, TMP, TEMP
/// or TEMPDIR: the first of these variables that is set. Returns "/tmp" if none is set or the value
/// is not a folder.
std::u16string temporaryFolder();

/// Returns the part of a path up to and including its last separator; empty if the path has no
/// separator.
std::u16string_view folderOf(std::u16string_view path);

} // namespace ox::platform
