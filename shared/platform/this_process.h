#pragma once

#include "shared/platform/result.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ox::platform
{

/// The running system's number in the farm's records: 1 Windows, 2 Linux.
#ifdef _WIN32
inline constexpr int ownSystem = 1;
#else
inline constexpr int ownSystem = 2;
#endif

/// The entries of the process's environment, each as "NAME=value".
std::vector<std::u16string> environmentBlock();

/// A variable's value; empty when it is not set.
std::optional<std::u16string> environmentVariable(std::u16string_view name);

/// Sleeps this many milliseconds, at least; a signal does not cut it short.
void sleepMilliseconds(int milliseconds);

/// The full path of the running executable.
Result<std::u16string> executablePath();

/// The full path of a file named by the arguments of a program: a relative one is taken from the
/// current folder. Fails when that no longer exists.
Result<std::u16string> absolutePath(char const * file);

/// The full path of a name in UTF-16, from which nativeName makes the name of the same file. Fails
/// when the current folder no longer exists.
Result<std::u16string> absolutePath(std::u16string_view name);

/// The system's folder for temporary files. On Linux that of TMPDIR, TMP, TEMP or TEMPDIR if it is
/// a folder, otherwise "/tmp".
std::u16string temporaryFolder();

/// The path up to and including its last separator; empty when it has none.
std::u16string_view folderOf(std::u16string_view path);

} // namespace ox::platform
