#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace ox::tests
{

/// Faults that fault_fs can inject at a request. Full, RemoveError and Disconnect persist until the
/// test disarms them.
enum class FaultKind : std::uint32_t {
    None,
    Error,       ///< the request fails
    Short,       ///< a read or write transfers half of its bytes
    Delay,       ///< the request takes 20 ms longer
    Kill,        ///< the calling process is killed, and the request has no effect
    Full,        ///< requests that create, write or flush fail
    RemoveError, ///< requests that remove or rename a file fail
    Disconnect,  ///< every request fails
};

/// Returns whether a fault of this kind can affect a request with this operation.
inline bool canAffect(FaultKind kind, std::string_view operation)
{
    auto const isOneOf = [operation](std::initializer_list<std::string_view> names) {
        return std::find(names.begin(), names.end(), operation) != names.end();
    };
    switch (kind) {
    case FaultKind::Short:
        return isOneOf({"READ", "WRITE", "COPY"});
    case FaultKind::Full:
        return isOneOf({"CREATE", "MKDIR", "SYMLINK", "LINK", "WRITE", "COPY", "FSYNC", "FLUSH"});
    case FaultKind::RemoveError:
        return isOneOf({"UNLINK", "RMDIR", "RENAME"});
    default:
        return true;
    }
}

/// Memory that fault_fs shares with the test that started it. The test writes to this memory only
/// while no process uses the mounted folder.
struct FaultControl {
    std::atomic<std::uint32_t> isReady;  ///< not 0 after the mount has succeeded
    std::atomic<std::int64_t> openFiles; ///< files and folders that processes have open
    std::atomic<std::uint64_t> requests; ///< requests since the test set this number to 0
    std::atomic<std::uint64_t> eligible; ///< requests so far that the fault can affect
    std::atomic<std::uint64_t> faultAt;  ///< value of `eligible` at which the fault occurs, or 0
    std::atomic<FaultKind> kind;
    std::atomic<std::int32_t> error;           ///< errno of the failing requests
    std::atomic<std::uint64_t> faultedRequest; ///< number of the first request with the fault, or 0
};

} // namespace ox::tests
