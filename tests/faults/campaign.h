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
/// Returns some of the faults, for operations that take long to run. Returns even fewer with the
/// address sanitizer, and all if the environment variable OX_FAULTS is "all".
std::vector<Fault> someFaults();

/// A fault-injection campaign: runs an operation once for each combination of a fault and a request
/// to the file system. After each run, checks the report and the files.
class Campaign
{
  public:
    explicit Campaign(Operation const & operation) : operation_(operation) {}

    /// Runs the campaign with these faults. Skips the test if the file system cannot be mounted.
    void run(std::vector<Fault> const & faults);

    /// Simulates a power failure after each request of a fault-free run: applies the requests to a
    /// model of a disk and checks the content that the disk keeps.
    void cutPower();

  private:
    struct Outcome {
        bool isHung = false;
        bool isKilled = false;
        bool isWrong = false; ///< the run reported success, but the content is wrong
        Report report;
    };

    bool recordRun();
    bool runWith(Fault const & fault, std::uint64_t request);
    Outcome runOnce();
    void testReport(Fault const & fault, Outcome const & outcome) const;
    void testFiles(Files const & found, Outcome const & outcome, bool cleansUp) const;
    void testBackup(Files const & found) const;
    void testNextRun();
    std::string problemOf(std::string const & path, Files const & found, bool isNew,
                          bool cleansUp) const;
    bool removalFailed(std::string const & path) const;

    Operation const & operation_;
    FaultMount mount_;
    Files after_;
    std::vector<LoggedRequest> requests_; ///< the requests of a fault-free run
    std::optional<DiskModel> disk_;       ///< starts with the files before these requests
    LoggedRequest faultedRequest_;        ///< the request at which the fault occurred
};

} // namespace ox::tests
