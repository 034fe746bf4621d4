#include "shared/platform/processes.h"
#include "shared/system/process_figures.h"
#include "shared/system/process_list.h"
#include "tests/support/child.h"
#include "tests/support/child_side.h"
#include "tests/support/own_program.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QRegularExpression>

#include <memory>

using namespace ox::tests;

namespace
{

using Name = _oxString8_UnevenSize<25>;

unsigned ownId()
{
    return static_cast<unsigned>(QCoreApplication::applicationPid());
}

QString ownFileName()
{
    return QFileInfo(ownProgram()).fileName();
}

/// Starts a second instance of a program, by default of this program. The instance runs until its
/// standard input is closed.
class SecondInstance : public Child
{
  public:
    explicit SecondInstance(QString const & program = ownProgram())
        : Child(program,
                {u"--gtest_also_run_disabled_tests"_q, u"--gtest_filter=Child.DISABLED_waits"_q})
    {
        EXPECT_TRUE(hasPrinted());
    }
};

TEST(Child, DISABLED_waits)
{
    printAndWait("ready");
}

TEST(ProcessList, FindsProcessesByIdAndByNameInAnyCase)
{
    auto const list = std::make_unique<_oxProcessList>();
    long long id = -7;
    EXPECT_FALSE(list->processExists("", true, &id));
    EXPECT_FALSE(list->collected);
    EXPECT_EQ(list->count, 0);

    int const index = list->getListIDByPID(ownId(), false);
    ASSERT_GE(index, 0);
    EXPECT_TRUE(list->collected);
    _oxProcessEntry const & own = list->entries[index];
    EXPECT_EQ(own.pid, ownId());
    EXPECT_EQ(QString(own.name), ownFileName().toUpper().left(25));
    EXPECT_TRUE(list->processExistsPID(ownId(), false));
    EXPECT_EQ(list->getListIDByPID(0xFFFFFFF0u, true), -1);

    EXPECT_TRUE(list->processExists(Name(ownFileName().toLower()), false, &id));
    EXPECT_FALSE(list->processExists("no such program", false, &id));
    EXPECT_EQ(id, -7);
    EXPECT_FALSE(list->doesProcessExistTwice(Name(ownFileName()), &id));
    EXPECT_EQ(id, ownId());
}

TEST(ProcessList, FindsASecondInstanceUntilItIsKilled)
{
    // Applications are identified by the name of the executable without the suffix.
    Name const base(QFileInfo(ownProgram()).completeBaseName());
    Name const prefix = base.left(base.size() - 1);
    long long id = 0;
    EXPECT_FALSE(ourProcessAlreadyExists(base, false, true, &id));
    EXPECT_EQ(id, ownId());
    EXPECT_TRUE(ourProcessAlreadyExists(base, true, true));
    EXPECT_FALSE(ourProcessAlreadyExists(prefix, true, true));

    SecondInstance second;
    EXPECT_TRUE(ourProcessAlreadyExists(base, false, false, &id));
    EXPECT_TRUE(ourProcessAlreadyExists(base, false, true));
    auto const list = std::make_unique<_oxProcessList>();
    EXPECT_TRUE(list->doesProcessExistTwice(Name(ownFileName())));
    int const index = list->getListIDByPID(second.id(), false);
    ASSERT_GE(index, 1);
    EXPECT_EQ(list->entries[index].parentPid, ownId());

    // The constructor of the list read the figures of all processes before the second instance
    // started. getProcessInfo reads the current figures.
    list->getProcessInfo(index);
    EXPECT_GE(list->entries[index].memMB, 1);

    unsigned const secondId = second.id();
    list->killProcess(secondId);
    EXPECT_TRUE(second.hasEnded());
    EXPECT_FALSE(list->processExistsPID(secondId, true));
    // The figures of an ended process stay 0, even while a handle to the process is open elsewhere.
    _oxProcessEntry & behind = list->entries[list->count];
    behind.pid = secondId;
    behind.cpuTime = behind.memMB = 0;
    list->initGetProcessInfo();
    list->getProcessInfo(list->count);
    EXPECT_EQ(behind.cpuTime, 0);
    EXPECT_EQ(behind.memMB, 0);
}

TEST(ProcessList, ReadsFiguresForTheIndicesFromOneToTheCount)
{
    auto const list = std::make_unique<_oxProcessList>();
    list->collectAllProcesses();
    list->initGetProcessInfo();
    list->getProcessInfo(0);
    EXPECT_TRUE(list->entries[0].user.isEmpty());
    list->getProcessInfo(-1);
    list->getProcessInfo(list->count + 1);

    _oxProcessEntry & behind = list->entries[list->count];
    behind.pid = ownId();
    list->getProcessInfo(list->count);
    EXPECT_FALSE(behind.user.isEmpty());
    list->count = _oxProcessList::capacity;
    list->getProcessInfo(list->count);
    list->getProcessInfoMemCPUOnly(list->count);
    EXPECT_EQ(list->getProcessInfoMemBytes_CPUOnly(list->count), 0);
}

TEST(ProcessList, RoundsMemoryAndDistributesUnaccountedMemory)
{
    std::uint64_t const mebibyte = ox::text::mebibyte;
    std::pair<std::uint64_t, int> const cases[] = {{0, 0},
                                                   {1, 1},
                                                   {mebibyte * 3 / 2 - 1, 1},
                                                   {mebibyte * 3 / 2, 2},
                                                   {(mebibyte << 28) + 7 * mebibyte, 7}};
    for (auto const & [bytes, expected] : cases)
        EXPECT_EQ(ox::system::shownMemory(bytes), expected) << bytes;

    std::vector<_oxProcessEntry> entries(3);
    entries[0].memMB = entries[2].memMB = 4096;
    entries[1].memMB = 4000;
    ox::system::distributeMemory(entries, 12192);
    EXPECT_EQ(entries[0].memMB, 4096);
    ox::system::distributeMemory(entries, 12192 + 1001);
    EXPECT_EQ(entries[0].memMB, 4596);
    EXPECT_EQ(entries[1].memMB, 4000);
    EXPECT_EQ(entries[2].memMB, 4596);
}

TEST(ProcessReading, FindsTheFirstEntryOfEachIdOnceItIsComplete)
{
    using ox::platform::ProcessReading;
    auto const workingSet = [](ProcessReading const & reading, std::uint32_t id) {
        auto const found = reading.of(id);
        return found ? static_cast<int>(found->workingSet) : -1;
    };
    auto const first = std::make_unique<ProcessReading>(),
               second = std::make_unique<ProcessReading>();
    first->begin(10);
    first->add(7, {0, 70});
    first->add(0, {0, 1});
    first->add(0, {0, 2});
    EXPECT_EQ(workingSet(*first, 7), -1);
    first->end(11);
    EXPECT_EQ(workingSet(*first, 0), 1);
    EXPECT_EQ(workingSet(*first, 8), -1);

    second->takeFrom(*first);
    EXPECT_EQ(workingSet(*second, 7), 70);
    EXPECT_EQ(workingSet(*first, 7), -1);

    first->begin(12);
    for (std::uint32_t id = 0; id <= ProcessReading::capacity; ++id)
        first->add(id, {0, id});
    first->end(13);
    EXPECT_EQ(workingSet(*first, ProcessReading::capacity - 1), int(ProcessReading::capacity) - 1);
    EXPECT_EQ(workingSet(*first, ProcessReading::capacity), -1);
}

TEST(ProcessWatch, ReturnsTheUsageFromTheSecondReadingOn)
{
    auto const list = std::make_unique<_oxProcessList>();
    _ProcessWatch watch;
    list->entries[3].cpuTime = 500;
    list->perfTimeDelta = 1000;
    watch.calcCPUUsage(list.get(), 3, 8);
    EXPECT_EQ(watch.cpuUsage, 0);
    list->entries[3].cpuTime = 1000;
    watch.calcCPUUsage(list.get(), 3, 8);
    EXPECT_EQ(watch.cpuUsage, 50);
    list->perfTimeDelta = 1;
    watch.calcCPUUsage(list.get(), 3, 8);
    EXPECT_EQ(watch.cpuUsage, 0);
    watch.calcCPUUsage(list.get(), 1000, 8);
    watch.calcCPUUsage(list.get(), -1, 8);
    EXPECT_EQ(watch.lastCpuTime, 1000);
}

TEST(ProcessReports, HaveALineForEachProcess)
{
    Name const name(ownFileName().toLower());
    auto const matches = [](QString const & text, QString const & pattern) {
        return QRegularExpression(QRegularExpression::anchoredPattern(pattern))
            .match(text)
            .hasMatch();
    };
    QString const plain = QRegularExpression::escape(ownFileName().toUpper().left(25));
    QString const own = listProcess(name, 1, 0, true);
    EXPECT_TRUE(matches(own, plain + u" -?\\d+% \\d+mb .* %1"_q.arg(ownId()))) << own.toStdString();
    QString const ofMachine = listProcess(name, 1, 4, false);
    EXPECT_TRUE(matches(ofMachine, plain + u" -?\\d+%\\(-?\\d+\\.\\d%\\) \\d+mb .*"_q))
        << ofMachine.toStdString();
    EXPECT_EQ(listProcess("no such program", 1, 0, true), QString());
    EXPECT_TRUE(listAllProcesses(7, 1, 0, true).startsWith(u"List Processes (minCore=7%) "_q));
    // A minimum of 0 percent includes all processes.
    QString const all = listAllProcesses(0, 1, 4, true);
    EXPECT_TRUE(all.startsWith(u"List Processes (minCore=0% (0.0% total))\n  "_q));
    EXPECT_TRUE(all.contains(u" %1"_q.arg(ownId())));
}

} // namespace
