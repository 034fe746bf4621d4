#pragma once

#include "tests/faults/disk_model.h"
#include "tests/faults/operation.h"
#include "tests/support/fault_mount_linux.h"

#include <optional>
#include <vector>

namespace ox::tests
{

/// Returns all faults.
std::vector<Fault> allFaults();
/// Returns a few faults, for operations that take long to run, and even fewer with the address
/// sanitizer. Returns all faults if the environment variable OX_FAULTS is "all".
std::vector<Fault> someFaults();

/// Runs an operation once for each fault at each of its requests to the file system. Then checks
/// the report and the remaining files.
class Campaign
{
  public:
    explicit Campaign(Operation const & operation) : operation_(operation) {}

    /// Runs the campaign with these faults. Skips the test if the file system cannot be mounted.
    void run(std::vector<Fault> const & faults);

    /// Applies the requests of a run without a fault to a model of a disk, and checks the content
    /// of the disk after each request.
    void cutPower();

  private:
    struct Outcome {
        bool isHung = false;
        bool isKilled = false;
        bool isWrong = false; ///< the run reported success, but the content is wrong
        Report report;
    };

    bool learn();
    bool runWith(Fault const & fault, std::uint64_t request);
    Outcome runOnce();
    void testReport(Fault const & fault, Outcome const & outcome) const;
    void testFiles(Files const & found, Outcome const & outcome, bool cleansUp) const;
    void testBackup(Files const & found) const;
    void testNextRun();
    std::string complaintAbout(std::string const & path, Files const & found, bool isNew,
                               bool cleansUp) const;
    bool mayStay(std::string const & path) const;

    Operation const & operation_;
    FaultMount mount_;
    Files after_;
    std::vector<LoggedRequest> requests_; ///< the requests of a run without a fault
    std::optional<DiskModel> disk_;       ///< the disk before these requests
    LoggedRequest struck_;                ///< the request at which the fault occurred
};

} // namespace ox::tests
