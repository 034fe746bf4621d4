#include "tests/faults/campaign.h"

#include "tests/support/this_build.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <tuple>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ox::tests
{
namespace
{

namespace fs = std::filesystem;

constexpr int timeoutMs = 30000;
constexpr int wrong = 3; ///< exit status that means Outcome::isWrong
constexpr Fault noFault = {"none", FaultKind::None};

/// Writes the report to a pipe and ends this process. The exit status passes the result to the
/// parent.
[[noreturn]] void endWith(Report const & report, int pipe)
{
    bool const isWritten = ::write(pipe, report.text.data(), report.text.size()) >= 0;
    int const status = report.text == wrongContent ? wrong : 1;
    ::_exit(report.hasSucceeded && isWritten ? 0 : status);
}

/// Reads until the writing process closes the pipe. Returns false after a timeout.
bool readToEnd(int pipe, std::string & text)
{
    for (;;) {
        pollfd ready = {pipe, POLLIN, 0};
        if (::poll(&ready, 1, timeoutMs) <= 0)
            return false;
        char piece[1024];
        ssize_t const count = ::read(pipe, piece, sizeof piece);
        if (count <= 0)
            return true;
        text.append(piece, static_cast<std::size_t>(count));
    }
}

bool isLock(std::string_view path)
{
    return path.ends_with("_lock.txt");
}

/// Returns whether the path names a lock file or a temporary file, which a process removes before
/// it ends.
bool isTransient(std::string const & path)
{
    return isLock(path) || path.find("/.oxshared-") != path.npos;
}

/// Returns whether the path names a renamed lock file. A process renames its lock file if it cannot
/// remove it.
bool isReleasedLock(std::string_view path)
{
    return path.ends_with("_lock.txt.none");
}

/// Sets the times of all lock files to four hours ago. A lock file is stale after three hours.
void ageLocks(fs::path const & folder)
{
    for (fs::directory_entry const & entry : fs::recursive_directory_iterator(folder)) {
        if (isLock(entry.path().string()))
            fs::last_write_time(entry.path(),
                                fs::file_time_type::clock::now() - std::chrono::hours(4));
    }
}

/// Returns whether a process with this fault can still remove its files.
bool canCleanUp(Fault const & fault)
{
    return fault.kind != FaultKind::Kill && fault.kind != FaultKind::Disconnect &&
           fault.kind != FaultKind::RemoveError;
}

std::string const * contentIn(Files const & files, std::string const & path)
{
    auto const file = files.find(path);
    return file == files.end() ? nullptr : &file->second;
}

/// Returns the number of requests that name a file by its path, such as open, status or rename.
/// Counts the LOOKUP requests: the kernel sends one before each request by path, and two before a
/// RENAME or LINK. A LOOKUP of a parent folder in a longer path does not count.
int byName(std::vector<LoggedRequest> const & requests)
{
    int count = 0;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        auto const & [operation, path] = std::tie(requests[i].operation, requests[i].path);
        bool const isParentFolder = i + 1 < requests.size() &&
                                    requests[i + 1].operation == "LOOKUP" &&
                                    requests[i + 1].path.starts_with(path + '/');
        count += operation == "LOOKUP" ? !isParentFolder : operation == "OPENDIR" && path == "/";
        count -= operation == "RENAME" || operation == "LINK";
    }
    return count;
}

bool isSame(std::string const * one, std::string const * other)
{
    return one && other ? *one == *other : one == other;
}

} // namespace

std::vector<Fault> allFaults()
{
    return {{"EIO", FaultKind::Error, EIO},
            {"EACCES", FaultKind::Error, EACCES},
            {"EINTR", FaultKind::Error, EINTR},
            {"ESTALE", FaultKind::Error, ESTALE},
            {"ENOSPC", FaultKind::Full, ENOSPC},
            {"EDQUOT", FaultKind::Full, EDQUOT},
            {"a refused removal", FaultKind::RemoveError, EBUSY},
            {"a short transfer", FaultKind::Short},
            {"a delay", FaultKind::Delay},
            {"SIGKILL", FaultKind::Kill, EINTR},
            {"a disconnection", FaultKind::Disconnect, ENOTCONN}};
}

std::vector<Fault> someFaults()
{
    char const * const wanted = std::getenv("OX_FAULTS");
    std::vector<Fault> faults = allFaults();
    bool const isFull = wanted && std::strcmp(wanted, "all") == 0;
    std::erase_if(faults, [isFull](Fault const & fault) {
        bool const isWanted =
            fault.error == ENOSPC || fault.error == EBUSY || fault.kind == FaultKind::Kill;
        return !isFull && fault.error != EIO && (hasAddressSanitizer || !isWanted);
    });
    return faults;
}

void Campaign::run(std::vector<Fault> const & faults)
{
    if (!mount_.refusal().empty())
        GTEST_SKIP() << mount_.refusal();
    if (!recordRun())
        return;
    int runs = 0;
    for (Fault const & fault : faults) {
        for (std::uint64_t request = 1; runWith(fault, request); ++request)
            ++runs;
    }
    testing::Test::RecordProperty("requests", static_cast<int>(requests_.size()));
    testing::Test::RecordProperty("runs", runs);
}

/// Makes a fault-free run of the operation. Stores the requests and the resulting files.
bool Campaign::recordRun()
{
    makeFiles(mount_.backing(), operation_.before);
    disk_.emplace(mount_.backing());
    mount_.arm(noFault, 0);
    Outcome const outcome = runOnce();
    requests_ = mount_.log();
    after_ = filesIn(mount_.backing());
    EXPECT_TRUE(outcome.report.hasSucceeded) << outcome.report.text;
    EXPECT_FALSE(requests_.empty());
    testing::Test::RecordProperty("byName", byName(requests_));
    EXPECT_TRUE(operation_.byName == 0 || byName(requests_) <= operation_.byName)
        << byName(requests_) << " requests by name";
    EXPECT_TRUE(operation_.after.empty() || after_ == operation_.after);
    return !testing::Test::HasFailure();
}

/// Runs the operation with a fault at the request with this number. Returns false if the operation
/// made fewer requests or hung.
bool Campaign::runWith(Fault const & fault, std::uint64_t request)
{
    makeFiles(mount_.backing(), operation_.before);
    mount_.arm(fault, request);
    Outcome const outcome = runOnce();
    mount_.disarm();
    bool const wasInjected = mount_.faultedRequest() != 0;
    if (wasInjected)
        faultedRequest_ = mount_.log().at(mount_.faultedRequest() - 1);
    SCOPED_TRACE(wasInjected ? std::string(fault.name) + " at request " +
                                   std::to_string(faultedRequest_.number) + ", " +
                                   faultedRequest_.operation + ' ' + faultedRequest_.path
                             : std::string("no fault"));
    EXPECT_FALSE(outcome.isHung) << "the operation hangs";
    EXPECT_TRUE(mount_.waitUntilClosed()) << "a file is still open after the end of the process";
    EXPECT_TRUE(wasInjected || !outcome.isKilled);
    if (wasInjected)
        testReport(fault, outcome);
    testFiles(filesIn(mount_.backing()), outcome, canCleanUp(fault));
    if (!outcome.report.hasSucceeded && operation_.isRepeatable)
        testNextRun();
    EXPECT_TRUE(wasInjected || outcome.report.hasSucceeded) << outcome.report.text;
    return wasInjected && !outcome.isHung;
}

Campaign::Outcome Campaign::runOnce()
{
    Outcome outcome;
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe(ends), 0);
    pid_t const child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        ::dup2(ends[1], STDERR_FILENO);
        errno = 0;
        endWith(operation_.run(mount_.folder()), ends[1]);
    }
    ::close(ends[1]);
    outcome.isHung = !readToEnd(ends[0], outcome.report.text);
    if (outcome.isHung)
        ::kill(child, SIGKILL);
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    outcome.isKilled = WIFSIGNALED(status);
    outcome.isWrong = WIFEXITED(status) && WEXITSTATUS(status) == wrong;
    outcome.report.hasSucceeded = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return outcome;
}

/// Checks that a failed run reports the injected error. A fault without an error code, such as a
/// delay, must not make a run fail.
void Campaign::testReport(Fault const & fault, Outcome const & outcome) const
{
    std::string const & text = outcome.report.text;
    EXPECT_FALSE(outcome.isWrong) << "the operation reports success, but the content is wrong";
    if (fault.kind == FaultKind::Kill) {
        EXPECT_FALSE(outcome.report.hasSucceeded) << "the process was not killed";
        return;
    }
    if (outcome.isWrong || outcome.report.hasSucceeded)
        return;
    EXPECT_NE(fault.error, 0) << "the operation fails although the fault has no error code: "
                              << text;
    auto const isNamed = [&text](std::string const & part) {
        return text.find(part) != std::string::npos;
    };
    auto const & others = operation_.texts;
    EXPECT_TRUE(isNamed(std::strerror(fault.error)) ||
                std::any_of(others.begin(), others.end(), isNamed))
        << "the reported text does not contain the error of the file system: " << text;
}

/// Returns how the content of the file `path` violates the rules of the operation, or an empty
/// text. If `isNew` is true, the file must have the new content. `cleansUp` is false if the process
/// was not able to remove its files.
std::string Campaign::problemOf(std::string const & path, Files const & found, bool isNew,
                                bool cleansUp) const
{
    std::string const * const now = contentIn(found, path);
    std::string const * const after = contentIn(after_, path);
    if (isSame(now, after))
        return {};
    if (isNew && !operation_.mayHideFaults)
        return "does not have the new content after a success";
    if (isSame(now, contentIn(operation_.before, path)))
        return {};
    auto const exception = operation_.mayBe.find(path);
    unsigned const mayBe = exception == operation_.mayBe.end() ? 0 : exception->second;
    if (!now)
        return mayBe & Missing ? "" : "is missing";
    unsigned const asPart = cleansUp && !removalFailed(path) ? Part : Part | UnremovedPart;
    bool const isPart = after && mayBe & asPart && after->starts_with(*now);
    bool const hasOtherSize = after && mayBe & OtherSize && after->size() != now->size();
    return isPart || hasOtherSize ? "" : "has neither the previous nor the new content";
}

/// Returns whether the fault occurred when the process removed this file.
bool Campaign::removalFailed(std::string const & path) const
{
    return faultedRequest_.path == path && faultedRequest_.operation == "UNLINK";
}

void Campaign::testFiles(Files const & found, Outcome const & outcome, bool cleansUp) const
{
    Files all = operation_.before;
    all.insert(after_.begin(), after_.end());
    auto const isIn = [&text = outcome.report.text](char const * part) {
        return text.find(part) != std::string::npos;
    };
    bool const hasWarning =
        outcome.report.hasSucceeded &&
        (isIn("Unable to rename") || isIn("cannot rename the previous version"));
    for (auto const & [path, content] : all) {
        bool const isKept = hasWarning && path == operation_.backup;
        bool const isNew = outcome.report.hasSucceeded && !isKept;
        EXPECT_EQ(problemOf(path, found, isNew, cleansUp), "") << path;
    }
    if (!operation_.backup.empty() && !hasWarning)
        testBackup(found);
    for (auto const & [path, content] : found) {
        bool const isLeft = isTransient(path) && (!cleansUp || removalFailed(path));
        EXPECT_TRUE(all.contains(path) || isLeft || isReleasedLock(path))
            << path << " was not removed";
    }
}

/// Checks that the target's previous content is complete, in the target or in the backup.
void Campaign::testBackup(Files const & found) const
{
    std::string const & backup = operation_.backup;
    std::string const target = backup.substr(0, backup.size() - std::strlen("_old"));
    std::string const * const previous = contentIn(operation_.before, target);
    EXPECT_TRUE(isSame(contentIn(found, target), previous) ||
                isSame(contentIn(found, backup), previous))
        << "the previous content is lost";
}

/// Runs the operation once more after a failed or killed run. Checks that the new run completes the
/// operation and removes lock files and temporary files.
void Campaign::testNextRun()
{
    ageLocks(mount_.backing());
    mount_.arm(noFault, 0);
    faultedRequest_ = {};
    Outcome const next = runOnce();
    EXPECT_TRUE(mount_.waitUntilClosed());
    EXPECT_TRUE(next.report.hasSucceeded) << "the next run fails: " << next.report.text;
    testFiles(filesIn(mount_.backing()), next, true);
}

void Campaign::cutPower()
{
    if (!mount_.refusal().empty())
        GTEST_SKIP() << mount_.refusal();
    if (!recordRun())
        return;
    for (LoggedRequest const & request : requests_) {
        disk_->apply(request);
        for (auto const & [name, keeps] : DiskModel::all) {
            SCOPED_TRACE(std::string("a disk that keeps ") + name + " after request " +
                         std::to_string(request.number) + ", " + request.operation + ' ' +
                         request.path);
            testFiles(disk_->content(keeps), {}, false);
        }
    }
    EXPECT_TRUE(disk_->content(DiskModel::Keeps::Everything) == after_)
        << "the disk model differs from the file system";
    bool const isFlushed = disk_->content(DiskModel::Keeps::Flushed) == after_;
    EXPECT_TRUE(isFlushed || !operation_.isFlushed)
        << "the new content does not survive a power failure after a success";
    testing::Test::RecordProperty("states", 3 * static_cast<int>(requests_.size()));
}

} // namespace ox::tests
