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

constexpr int patienceMs = 30000;
constexpr int wrong = 3; ///< exit status that means Outcome::isWrong
constexpr Fault noFault = {"none", FaultKind::None};

/// Writes the report to a pipe and ends this process. The exit status tells the parent the result.
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
        if (::poll(&ready, 1, patienceMs) <= 0)
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

/// Returns whether a path is that of a lock file or a temporary file. A process removes both before
/// it ends.
bool isPassing(std::string const & path)
{
    return isLock(path) || path.find("/.oxshared-") != path.npos;
}

/// Returns whether a path is that of a renamed lock file. A process renames its lock file if it
/// cannot remove it.
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

bool canCleanUp(Fault const & fault)
{
    return fault.kind != FaultKind::Kill && fault.kind != FaultKind::Disconnect &&
           fault.kind != FaultKind::Unremoving;
}

std::string const * contentIn(Files const & files, std::string const & path)
{
    auto const file = files.find(path);
    return file == files.end() ? nullptr : &file->second;
}

/// Returns the number of requests that name a file. Each of them causes one LOOKUP of the name;
/// RENAME and LINK cause two. The LOOKUP of a folder inside a path does not count.
int byName(std::vector<LoggedRequest> const & requests)
{
    int count = 0;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        auto const & [operation, path] = std::tie(requests[i].operation, requests[i].path);
        bool const isOnTheWay = i + 1 < requests.size() && requests[i + 1].operation == "LOOKUP" &&
                                requests[i + 1].path.starts_with(path + '/');
        count += operation == "LOOKUP" ? !isOnTheWay : operation == "OPENDIR" && path == "/";
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
            {"a refused removal", FaultKind::Unremoving, EBUSY},
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
    if (!learn())
        return;
    int runs = 0;
    for (Fault const & fault : faults) {
        for (std::uint64_t request = 1; runWith(fault, request); ++request)
            ++runs;
    }
    testing::Test::RecordProperty("requests", static_cast<int>(requests_.size()));
    testing::Test::RecordProperty("runs", runs);
}

/// Runs the operation without a fault. Stores its requests and the resulting files.
bool Campaign::learn()
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

/// Runs the operation with a fault at a request. Returns false if the operation made fewer requests
/// or hung.
bool Campaign::runWith(Fault const & fault, std::uint64_t request)
{
    makeFiles(mount_.backing(), operation_.before);
    mount_.arm(fault, request);
    Outcome const outcome = runOnce();
    mount_.disarm();
    bool const isStruck = mount_.struckAt() != 0;
    if (isStruck)
        struck_ = mount_.log().at(mount_.struckAt() - 1);
    SCOPED_TRACE(isStruck
                     ? std::string(fault.name) + " at request " + std::to_string(struck_.number) +
                           ", " + struck_.operation + ' ' + struck_.path
                     : std::string("no fault"));
    EXPECT_FALSE(outcome.isHung) << "it hangs";
    EXPECT_TRUE(mount_.waitUntilClosed()) << "files stay open";
    EXPECT_TRUE(isStruck || !outcome.isKilled);
    if (isStruck)
        testReport(fault, outcome);
    testFiles(filesIn(mount_.backing()), outcome, canCleanUp(fault));
    if (!outcome.report.hasSucceeded && operation_.isRepeatable)
        testNextRun();
    EXPECT_TRUE(isStruck || outcome.report.hasSucceeded) << outcome.report.text;
    return isStruck && !outcome.isHung;
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

/// Checks that a failed run reports the cause. A fault without an error code, such as a delay, must
/// not make a run fail.
void Campaign::testReport(Fault const & fault, Outcome const & outcome) const
{
    std::string const & text = outcome.report.text;
    EXPECT_FALSE(outcome.isWrong) << "it reports success for content that is wrong";
    if (fault.kind == FaultKind::Kill) {
        EXPECT_FALSE(outcome.report.hasSucceeded) << "it is not killed";
        return;
    }
    if (outcome.isWrong || outcome.report.hasSucceeded)
        return;
    EXPECT_NE(fault.error, 0) << "it fails: " << text;
    auto const isNamed = [&text](std::string const & part) {
        return text.find(part) != std::string::npos;
    };
    auto const & others = operation_.texts;
    EXPECT_TRUE(isNamed(std::strerror(fault.error)) ||
                std::any_of(others.begin(), others.end(), isNamed))
        << "the text does not name the cause: " << text;
}

/// Returns what is wrong with a file, or an empty text.
std::string Campaign::complaintAbout(std::string const & path, Files const & found, bool isNew,
                                     bool cleansUp) const
{
    std::string const * const now = contentIn(found, path);
    std::string const * const after = contentIn(after_, path);
    if (isSame(now, after))
        return {};
    if (isNew && !operation_.mayHideFaults)
        return "is not the new one after a success";
    if (isSame(now, contentIn(operation_.before, path)))
        return {};
    auto const exception = operation_.mayBe.find(path);
    unsigned const mayBe = exception == operation_.mayBe.end() ? 0 : exception->second;
    if (!now)
        return mayBe & Missing ? "" : "is missing";
    unsigned const asPart = cleansUp && !mayStay(path) ? Part : Part | PartOfTheDead;
    bool const isPart = after && mayBe & asPart && after->starts_with(*now);
    bool const hasOtherSize = after && mayBe & OtherSize && after->size() != now->size();
    return isPart || hasOtherSize ? "" : "is neither the previous nor the new one";
}

/// Returns whether the fault made the removal of this file fail.
bool Campaign::mayStay(std::string const & path) const
{
    return struck_.path == path && struck_.operation == "UNLINK";
}

void Campaign::testFiles(Files const & found, Outcome const & outcome, bool cleansUp) const
{
    Files all = operation_.before;
    all.insert(after_.begin(), after_.end());
    auto const isIn = [&text = outcome.report.text](char const * part) {
        return text.find(part) != std::string::npos;
    };
    bool const hasWarning = outcome.report.hasSucceeded &&
                            (isIn("Unable to rename") || isIn("cannot rename the previous file"));
    for (auto const & [path, content] : all) {
        bool const isKept = hasWarning && path == operation_.backup;
        bool const isNew = outcome.report.hasSucceeded && !isKept;
        EXPECT_EQ(complaintAbout(path, found, isNew, cleansUp), "") << path;
    }
    if (!operation_.backup.empty() && !hasWarning)
        testBackup(found);
    for (auto const & [path, content] : found) {
        bool const isLeft = isPassing(path) && (!cleansUp || mayStay(path));
        EXPECT_TRUE(all.contains(path) || isLeft || isReleasedLock(path)) << path << " is left";
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
        << "the previous file is lost";
}

/// Checks that the run after a failure or a kill completes the operation and cleans up.
void Campaign::testNextRun()
{
    ageLocks(mount_.backing());
    mount_.arm(noFault, 0);
    struck_ = {};
    Outcome const next = runOnce();
    EXPECT_TRUE(mount_.waitUntilClosed());
    EXPECT_TRUE(next.report.hasSucceeded) << "the next run fails: " << next.report.text;
    testFiles(filesIn(mount_.backing()), next, true);
}

void Campaign::cutPower()
{
    if (!mount_.refusal().empty())
        GTEST_SKIP() << mount_.refusal();
    if (!learn())
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
    EXPECT_TRUE(disk_->content(DiskModel::Keeps::Everything) == after_) << "the model is wrong";
    bool const isFlushed = disk_->content(DiskModel::Keeps::Flushed) == after_;
    EXPECT_TRUE(isFlushed || !operation_.isFlushed) << "a success is lost with the power";
    testing::Test::RecordProperty("states", 3 * static_cast<int>(requests_.size()));
}

} // namespace ox::tests
