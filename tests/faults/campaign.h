#pragma once

#include "tests/faults/disk_model.h"
#include "tests/faults/operation.h"
#include "tests/support/fault_mount_linux.h"

#include <optional>
#include <vector>

namespace ox::tests
{

/// Every fault, or a few of them for what takes long to run, fewer with the address sanitizer.
/// OX_FAULTS=all makes that every one.
std::vector<Fault> allFaults();
std::vector<Fault> someFaults();

/// Runs an operation once for each fault and each of its requests, and tests what is left.
class Campaign
{
  public:
    explicit Campaign(Operation const & operation) : operation_(operation) {}

    /// Skips the test where nothing can be mounted.
    void run(std::vector<Fault> const & faults);

    /// Replays the requests of a run without faults, and tests what a disk holds after each.
    void cutPower();

  private:
    struct Outcome {
        bool isHung = false;
        bool isKilled = false;
        bool isWrong = false; ///< success was reported for content that is wrong
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
    std::vector<LoggedRequest> requests_; ///< of a run without a fault
    std::optional<DiskModel> disk_;       ///< before them
    LoggedRequest struck_;                ///< the request that the fault meets
};

} // namespace ox::tests
