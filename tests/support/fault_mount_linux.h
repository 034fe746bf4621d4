#pragma once

#include "tests/support/fault_fs/control.h"

#include <QProcess>
#include <QTemporaryDir>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace ox::tests
{

/// A fault for FaultMount::arm.
struct Fault {
    char const * name;
    FaultKind kind;
    int error = 0; ///< errno of the requests that fail
};

/// A line of the log of fault_fs.
struct LoggedRequest {
    std::uint64_t number = 0;
    std::string operation;
    ino_t file = 0;
    std::string path; ///< below the mount, with a separator in front
    std::string newPath;
    std::size_t size = 0;
    off_t offset = 0;
    long result = 0;       ///< negative for an error
    std::string data = {}; ///< of a write that succeeded
};

/// A folder in which a chosen request fails: fault_fs mounted over a backing folder. Mount, process
/// and folders go at the end of the scope; when the test crashes, mount and process.
class FaultMount
{
  public:
    /// Waits until the mount works, for some seconds at most.
    FaultMount();
    ~FaultMount();
    FaultMount(FaultMount const &) = delete;
    FaultMount & operator=(FaultMount const &) = delete;

    /// Empty when the mount works; otherwise why a test is to be skipped.
    std::string const & refusal() const { return refusal_; }

    std::filesystem::path folder() const { return pathOf("mount"); }
    std::filesystem::path backing() const { return pathOf("backing"); }

    /// Empties the log, and injects a fault at a request that it concerns: 1 is the next one, 0 is
    /// none.
    void arm(Fault const & fault, std::uint64_t request);
    /// The number in the log of the request that met the fault, 0 for none.
    std::uint64_t struckAt() const { return control_->struckAt; }
    /// Ends a fault that lasts.
    void disarm() { control_->faultAt = 0; }
    /// Waits until no file is open: the kernel closes those of a dead process a little later. False
    /// when some stay open.
    bool waitUntilClosed() const;

    std::vector<LoggedRequest> log() const;

  private:
    std::string pathOf(char const * name) const;
    bool mapControl();

    QTemporaryDir root_;
    QProcess server_;
    FaultControl * control_ = nullptr;
    std::string refusal_;
};

} // namespace ox::tests
