#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace ox::tests
{

/// What the file system does at a chosen request. The last three last until the fault is disarmed.
enum class FaultKind : std::uint32_t {
    None,
    Error,      ///< the request fails
    Short,      ///< a read or write transfers half of its bytes
    Delay,      ///< the request takes 20 ms longer
    Kill,       ///< the caller is killed, and the request changes nothing
    Full,       ///< what needs space fails
    Unremoving, ///< removing and renaming fail
    Disconnect, ///< every request fails
};

/// Whether a fault of this kind can change anything about a request.
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

/// Memory that fault_fs shares with the test that started it. The test writes it while the folder
/// is not in use.
struct FaultControl {
    std::atomic<std::uint32_t> isReady;   ///< the mount works
    std::atomic<std::int64_t> openFiles;  ///< files and folders that clients have open
    std::atomic<std::uint64_t> requests;  ///< requests since the test set this to 0
    std::atomic<std::uint64_t> concerned; ///< those of them that the kind of fault concerns
    std::atomic<std::uint64_t> faultAt;   ///< number among the concerned requests, 0 for none
    std::atomic<FaultKind> kind;
    std::atomic<std::int32_t> error;     ///< errno of the requests that fail
    std::atomic<std::uint64_t> struckAt; ///< number of the request that met the fault first
};

} // namespace ox::tests
