#include "shared/platform/program/process_details.h"

#include "shared/platform/windows/handle.h"
#include "shared/platform/windows/process_handle.h"
#include "shared/platform/windows/utf16.h"

#include <algorithm>
#include <vector>

#include <winternl.h>

namespace ox::platform
{
namespace
{

std::uint64_t countOf(FILETIME time)
{
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

/// Returns the creation time of an open process; empty if the process has ended.
std::optional<FILETIME> creationTime(HANDLE process)
{
    DWORD exitCode = 0;
    FILETIME created, ended, kernel, user;
    bool const runs = ::GetExitCodeProcess(process, &exitCode) && exitCode == STILL_ACTIVE &&
                      ::GetProcessTimes(process, &created, &ended, &kernel, &user);
    return runs ? std::optional(created) : std::nullopt;
}

/// Returns the command line of an open process. Empty on failure. Always empty on systems older
/// than Windows 8.1, since they lack this query.
std::u16string commandLineOf(HANDLE process)
{
    constexpr auto commandLineQuery = static_cast<PROCESSINFOCLASS>(60);
    constexpr std::size_t longest = 4096;
    std::vector<std::uint64_t> buffer(9000); // for the longest command line, aligned
    ULONG size = 0;
    if (::NtQueryInformationProcess(process, commandLineQuery, buffer.data(),
                                    static_cast<ULONG>(buffer.size() * sizeof buffer[0]),
                                    &size) < 0)
        return {};
    auto const & text = *reinterpret_cast<UNICODE_STRING const *>(buffer.data());
    std::size_t const length = text.Buffer ? text.Length / sizeof(wchar_t) : 0;
    return toUtf16({text.Buffer, std::min(length, longest)});
}

} // namespace

std::optional<ProcessDetails> processDetails(std::uint32_t id)
{
    Handle const process(openProcess(PROCESS_QUERY_LIMITED_INFORMATION, id));
    auto const created = process.isOpen() ? creationTime(process.get()) : std::nullopt;
    if (!created)
        return std::nullopt;
    return ProcessDetails{countOf(*created), secondsOf(*created), commandLineOf(process.get())};
}

Result<> endProcess(std::uint32_t id, std::uint64_t start, Ending)
{
    Handle const process(openProcess(PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION, id));
    constexpr int noProcess = ERROR_INVALID_PARAMETER;
    if (!process.isOpen()) {
        Error const error = lastError("OpenProcess");
        return error.code == noProcess ? Error{noProcess, "OpenProcess", ErrorKind::NotFound}
                                       : error;
    }
    auto const created = creationTime(process.get());
    if (!created || countOf(*created) != start)
        return Error{noProcess, "GetProcessTimes", ErrorKind::NotFound};
    return resultOf(::TerminateProcess(process.get(), 1) != FALSE, "TerminateProcess");
}

} // namespace ox::platform
