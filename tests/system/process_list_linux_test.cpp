#include "shared/system/process_list.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>

#include <csignal>
#include <ctime>
#include <memory>

#include <malloc.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace ox::tests;

namespace
{

/// Runs a function in a forked process, which has a process group of its own. The destructor kills
/// the whole group.
class Forked
{
  public:
    template <typename Work>
    explicit Forked(Work const & work) : id_(::fork())
    {
        if (id_ == 0) {
            ::setpgid(0, 0);
            work();
            ::_exit(7);
        }
        ::setpgid(id_, id_);
    }
    Forked(Forked const &) = delete;
    Forked & operator=(Forked const &) = delete;
    ~Forked()
    {
        ::kill(-id_, SIGKILL);
        ::waitpid(id_, nullptr, 0);
    }

    unsigned id() const { return static_cast<unsigned>(id_); }
    /// Returns the processor time of the process in units of 100 ns.
    double cpuTime() const
    {
        clockid_t clock{};
        timespec time{};
        ::clock_getcpuclockid(id_, &clock);
        ::clock_gettime(clock, &time);
        return double(time.tv_sec) * 1e7 + double(time.tv_nsec) / 100;
    }

  private:
    pid_t id_;
};

void spin()
{
    for (bool volatile on = true; on;)
        ;
}

void wait()
{
    for (;;)
        ::pause();
}

TEST(ProcessListOnLinux, AgreesWithTheProcessorClockOfTheProcess)
{
    Forked const busy(spin), idle(wait);
    auto const list = std::make_unique<_oxProcessList>();
    _ProcessWatch busyWatch, idleWatch;
    auto const read = [&] {
        list->collectAllProcesses();
        list->initGetProcessInfo();
        double const time = busy.cpuTime();
        for (auto const & [process, watch] : {std::pair{&busy, &busyWatch}, {&idle, &idleWatch}}) {
            int const index = list->getListIDByPID(process->id(), false);
            list->getProcessInfo(index);
            watch->calcCPUUsage(list.get(), index, 2);
        }
        return time;
    };
    // At the first measurement, the process must have used some processor time.
    while (busy.cpuTime() < 300000)
        ::usleep(10000);
    double const before = read();
    EXPECT_EQ(busyWatch.cpuUsage, 0);
    ::sleep(1);
    double const after = read();
    EXPECT_NEAR(busyWatch.cpuUsage, (after - before) / list->perfTimeDelta * 100, 5);
    EXPECT_GT(busyWatch.cpuUsage, 1);
    EXPECT_EQ(idleWatch.cpuUsage, 0);
    EXPECT_GE(list->perfTimeDelta, 1e7);
    EXPECT_TRUE(list->errorText.isEmpty());
}

TEST(ProcessListOnLinux, NamesAProcessByItsExecutableAndItsUser)
{
    TemporaryFolder const folder;
    QString const program = folder.path() + u"/Render-Node_0123456789abcdefgh.bin"_q;
    ASSERT_TRUE(QFile::copy(u"/bin/cat"_q, program));
    QProcess process;
    process.start(program, QStringList());
    ASSERT_TRUE(process.waitForStarted());
    // A program uses almost no memory when it starts. Waits for the program's answer: by then the
    // program uses more memory.
    process.write("answer\n");
    ASSERT_TRUE(process.waitForReadyRead());
    // The program's file may be deleted while the program runs, for example by an update.
    ASSERT_TRUE(QFile::remove(program));
    auto const list = std::make_unique<_oxProcessList>();
    EXPECT_TRUE(list->processExists("render-node_0123456789abcdefgh.bin", false));
    list->initGetProcessInfo();
    int const index = list->getListIDByPID(static_cast<unsigned>(process.processId()), false);
    ASSERT_GE(index, 1);
    list->getProcessInfo(index);
    EXPECT_EQ(list->entries[index].name.view(), "RENDER-NODE_0123456789ABC");
    EXPECT_GE(list->entries[index].memMB, 1);
    passwd const * const user = ::getpwuid(::geteuid());
    EXPECT_EQ(list->entries[index].user.view(), user ? user->pw_name : "noSID");

    list->killProcess("RENDER-node_0123456789abcdefgh.bin");
    EXPECT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitStatus(), QProcess::CrashExit);
    list->getProcessInfo(index);
    EXPECT_EQ(list->entries[index].user.view(), "noDebugPriv");
}

/// Ends the main thread while another thread runs. Gives both threads names that differ from the
/// executable's name.
void endMainThread()
{
    ::prctl(PR_SET_NAME, "renamed");
    pthread_t thread{};
    auto const work = [](void *) -> void * {
        ::prctl(PR_SET_NAME, "worker");
        wait();
        return nullptr;
    };
    ::pthread_create(&thread, nullptr, work, nullptr);
    ::syscall(SYS_exit, 0); // ends only the calling thread
}

TEST(ProcessListOnLinux, ListsRunningProcessesWithTheirFigures)
{
    Forked const zombie([] {}), partlyEnded(endMainThread);
    ::siginfo_t ended{};
    ASSERT_EQ(::waitid(P_PID, zombie.id(), &ended, WEXITED | WNOWAIT), 0);
    auto const list = std::make_unique<_oxProcessList>();
    EXPECT_FALSE(list->processExistsPID(zombie.id(), true));
    std::string const status = "/proc/" + std::to_string(partlyEnded.id()) + "/stat";
    QFile stat(QString::fromStdString(status));
    for (bool hasEnded = false; !hasEnded && stat.open(QIODevice::ReadOnly); stat.close()) {
        hasEnded = stat.readAll().contains(" Z ");
        ::usleep(1000);
    }
    list->collectAllProcesses();
    auto const & first = list->entries[0];
    EXPECT_EQ(first.pid, 0u);
    EXPECT_EQ(first.name.view(), "IDLE");
    int kernelThreads = 0;
    for (int i = 1; i < list->count; ++i)
        kernelThreads += list->entries[i].parentPid == 2 || list->entries[i].name == "KTHREADD";
    EXPECT_EQ(kernelThreads, 0);

    // Only the main thread of `partlyEnded` has ended: the process still has its name and memory.
    int const index = list->getListIDByPID(partlyEnded.id(), false);
    ASSERT_GE(index, 1);
    list->getProcessInfo(index);
    EXPECT_EQ(list->entries[index].name.view(), "SYSTEM_TESTS");
    EXPECT_GE(list->entries[index].memMB, 1);
    // Process 1 is the init process. In a container it may be an application.
    int const one = list->getListIDByPID(1, false);
    ASSERT_GE(one, 1);
    list->getProcessInfo(one);
    EXPECT_FALSE(list->entries[one].user.isEmpty());
}

TEST(ProcessListOnLinux, NeverSignalsAProcessGroup)
{
    Forked const member(wait);
    auto const list = std::make_unique<_oxProcessList>();
    list->killProcess(0u - member.id());
    list->killProcess(_oxString8_UnevenSize<25>());
    EXPECT_FALSE(setPrivilege("SeDebugPrivilege", true));
    ::usleep(20000);
    EXPECT_EQ(::waitpid(static_cast<pid_t>(member.id()), nullptr, WNOHANG), 0);
    // killProcess(0) must not kill the process group of the caller.
    EXPECT_EXIT(
        {
            ::setpgid(0, 0);
            list->killProcess(0u);
            ::_exit(7);
        },
        testing::ExitedWithCode(7), "");
}

TEST(ProcessListOnLinux, ListsTheFirstThousandOfMoreProcesses)
{
    Forked const crowd([] {
        ::execl("/bin/sh", "sh", "-c",
                "i=0; while [ $i -lt 1000 ]; do sleep 300 & i=$((i+1)); done; wait", nullptr);
    });
    auto const list = std::make_unique<_oxProcessList>();
    for (int i = 0; i < 1000 && list->count < _oxProcessList::capacity; ++i) {
        ::usleep(50000);
        list->collectAllProcesses();
    }
    EXPECT_EQ(list->count, _oxProcessList::capacity);
    list->initGetProcessInfo();
    list->getProcessInfo(999);
    list->getProcessInfo(1000);
    EXPECT_GT(list->entries[999].pid, 0u);
    EXPECT_GT(list->total(), _oxProcessList::capacity);
    // A search by name also finds a process that is not among the first 1000.
    Forked const last(wait);
    list->collectProcesses("system_TESTS");
    EXPECT_TRUE(list->processExistsPID(last.id(), false));
    EXPECT_EQ(list->total(), list->count);
    EXPECT_EQ(list->entries[0].name.view(), "IDLE");
}

TEST(ProcessListOnLinux, NeedsNoMoreMemoryForLaterSnapshots)
{
    auto const list = std::make_unique<_oxProcessList>();
    auto const snapshot = [&list] {
        list->collectAllProcesses();
        list->initGetProcessInfo();
        for (int i = 1; i < list->count; ++i)
            list->getProcessInfo(i);
    };
    snapshot();
    auto const before = ::mallinfo2().uordblks;
    for (int i = 0; i < 30; ++i)
        snapshot();
    EXPECT_EQ(::mallinfo2().uordblks, before);
}

} // namespace
