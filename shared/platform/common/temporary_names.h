#pragma once

#include "shared/platform/file_names.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace ox::platform
{

// Names of temporary files: ".oxshared-SYSTEM-PROCESS-NUMBER.tmp". Each part has eight
// hexadecimal digits: SYSTEM identifies the running operating system, PROCESS is the process id,
// NUMBER is random. Only a process with the same SYSTEM can find out whether PROCESS has ended. So
// a file of another SYSTEM counts as left behind only when it has the age `leftBehindAfter`.

/// SYSTEM of every Windows machine. One number is sufficient, since the file server manages the
/// locks of Windows machines: each of them sees the locks of all others.
inline constexpr std::uint32_t windowsSystem = 0;

/// Age in seconds from which a temporary file of another SYSTEM counts as left behind; equal to the
/// age of a stale lock file.
inline constexpr std::int64_t leftBehindAfter = 3 * 60 * 60;

/// Returns the common prefix of the names of a process's temporary files.
inline NativeName temporaryPrefix(std::uint32_t system, std::uint32_t process)
{
    char text[40];
    int const length = std::snprintf(text, sizeof text, ".oxshared-%08x-%08x-", system, process);
    return NativeName(text, text + length);
}

/// Returns the name of a temporary file.
inline NativeName temporaryName(std::uint32_t system, std::uint32_t process, std::uint32_t number)
{
    char text[20];
    int const length = std::snprintf(text, sizeof text, "%08x.tmp", number);
    return temporaryPrefix(system, process).append(text, text + length);
}

/// Returns the part PROCESS in the name of a temporary file.
inline std::uint32_t processOf(std::basic_string_view<NativeName::value_type> name)
{
    std::uint32_t process = 0;
    for (NativeName::value_type const digit : name.substr(19, 8))
        process = process * 16 +
                  static_cast<std::uint32_t>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
    return process;
}

/// Whether a name is that of a temporary file, and whether the file is of this or another system.
enum class Temporary { No, OfThisSystem, OfAnother };

/// Returns whether `name` is that of a temporary file, and of which system. `system` is the part
/// SYSTEM in the names of this system's temporary files.
inline Temporary temporaryKind(std::basic_string_view<NativeName::value_type> name,
                               std::uint32_t system)
{
    NativeName const form = temporaryName(0, 0, 0);
    auto const fits = [](auto letter, auto model) {
        bool const isDigit = (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'f');
        return model == '0' ? isDigit : letter == model;
    };
    if (name.size() != form.size() ||
        !std::equal(name.begin(), name.end(), form.begin(), form.end(), fits))
        return Temporary::No;
    constexpr std::size_t throughSystem = 19; // ".oxshared-" and eight digits
    bool const isOwn =
        temporaryPrefix(system, 0).compare(0, throughSystem, name, 0, throughSystem) == 0;
    return isOwn ? Temporary::OfThisSystem : Temporary::OfAnother;
}

} // namespace ox::platform
