#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace ox::tests
{

/// Faults that fault_fs can inject at a request. The last three faults persist until they are
/// disarmed.
enum class FaultKind : std::uint32_t {
    None,
    Error,      ///< the request fails
    Short,      ///< a read or write transfers half of its bytes
    Delay,      ///< the request takes 20 ms longer
    Kill,       ///< the calling process is killed, and the request has no effect
    Full,       ///< requests that need free space fail
    Unremoving, ///< requests that remove or rename a file fail
    Disconnect, ///< every request fails
};

/// Returns whether a fault of this kind can affect an operation.
inline bool concerns(FaultKind kind, std::string_view operation)
{
    auto const isOneOf = [operation](std::initializer_list<std::string_view> names) {
        return std::find(names.begin(), names.end(), operation) != names.end();
    };
    switch (kind) {
    case FaultKind::Short:
        return isOneOf({"READ", "WRITE", "COPY"});
    case FaultKind::Full:
        return isOneOf({"CREATE", "MKDIR", "SYMLINK", "LINK", "WRITE", "COPY", "FSYNC", "FLUSH"});
    case FaultKind::Unremoving:
        return isOneOf({"UNLINK", "RMDIR", "RENAME"});
    default:
        return true;
    }
}

/// Memory that fault_fs shares with the test that started it. The test writes to this memory only
/// while no process uses the mounted folder.
struct FaultControl {
    std::atomic<std::uint32_t> isReady;   ///< not 0 after the mount has succeeded
    std::atomic<std::int64_t> openFiles;  ///< files and folders that processes have open
    std::atomic<std::uint64_t> requests;  ///< requests since the test set this number to 0
    std::atomic<std::uint64_t> concerned; ///< requests that the kind of fault can affect
    std::atomic<std::uint64_t> faultAt;   ///< value of `concerned` at the fault, 0 for no fault
    std::atomic<FaultKind> kind;
    std::atomic<std::int32_t> error;     ///< errno of the failing requests
    std::atomic<std::uint64_t> struckAt; ///< first request that the fault affected, or 0
};

} // namespace ox::tests
