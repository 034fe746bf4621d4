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
    int error = 0; ///< errno of the failing requests
};

/// A line of the log of fault_fs.
struct LoggedRequest {
    std::uint64_t number = 0;
    std::string operation;
    ino_t file = 0;
    std::string path; ///< relative to the mount point, with a leading slash
    std::string newPath;
    std::size_t size = 0;
    off_t offset = 0;
    long result = 0;       ///< negative errno for an error
    std::string data = {}; ///< written bytes of a successful WRITE or COPY
};

/// A folder in which chosen requests fail: a mount of fault_fs over a backing folder. The
/// destructor unmounts it, ends fault_fs and removes the folders. If the test crashes, fault_fs
/// unmounts the folder, removes the folders and ends.
class FaultMount
{
  public:
    /// Mounts the folder. Waits until the mount works or a timeout has passed.
    FaultMount();
    ~FaultMount();
    FaultMount(FaultMount const &) = delete;
    FaultMount & operator=(FaultMount const &) = delete;

    /// Returns why the folder cannot be mounted, or an empty text if it is mounted. A test uses the
    /// text as the reason to skip itself.
    std::string const & refusal() const { return refusal_; }

    std::filesystem::path folder() const { return pathOf("mount"); }
    std::filesystem::path backing() const { return pathOf("backing"); }

    /// Empties the log and arms a fault. `request` is the number of the faulted request, counted
    /// from 1 among the requests that the fault can affect; 0 means no fault.
    void arm(Fault const & fault, std::uint64_t request);
    /// Returns the number of the first faulted request, counted among all requests, or 0.
    std::uint64_t faultedRequest() const { return control_->faultedRequest; }
    /// Disarms the fault, so that later requests succeed.
    void disarm() { control_->faultAt = 0; }
    /// Waits until no file in the mount is open. The kernel closes the files of a killed process
    /// with a delay. Returns false after a timeout.
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
