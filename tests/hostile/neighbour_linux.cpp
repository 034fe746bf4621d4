#include "tests/hostile/neighbour_linux.h"

#include "tests/support/file_content.h"

#include <QDir>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ox::tests
{
namespace
{

constexpr uid_t nobody = 65534;

bool makeFile(std::string const & path)
{
    int const file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    bool const isMade = file >= 0 && ::write(file, "content\n", 8) == 8;
    ::close(file);
    return isMade;
}

bool makeFolder(std::string const & path)
{
    return ::mkdir(path.c_str(), 0755) == 0 && makeFile(path + "/file") &&
           ::mkdir((path + "/inner").c_str(), 0755) == 0 && makeFile(path + "/inner/file");
}

struct KindOfThing {
    mode_t type;
    bool (*make)(std::string const & path, std::string const & victim);
};

template <char const * to>
bool makeLink(std::string const & path, std::string const & victim)
{
    return ::symlink((victim + to).c_str(), path.c_str()) == 0;
}

template <mode_t type>
bool makeNode(std::string const & path, std::string const &)
{
    dev_t const full = makedev(1, 7); // the number of /dev/full, used only for devices
    return ::mknod(path.c_str(), type | 0666, full) == 0;
}

constexpr char toFile[] = "/file";
constexpr char toNewFile[] = "/folder/new";
constexpr char toFolder[] = "/folder";

/// The elements have the same order as the enumerators of Kind.
constexpr KindOfThing kindsOfThings[] = {
    {S_IFREG, [](auto const & path, auto const &) { return makeFile(path); }},
    {S_IFLNK, makeLink<toFile>},
    {S_IFLNK, makeLink<toNewFile>},
    {S_IFLNK, makeLink<toFolder>},
    {S_IFDIR, [](auto const & path, auto const &) { return makeFolder(path); }},
    {S_IFIFO, makeNode<S_IFIFO>},
    {S_IFSOCK, makeNode<S_IFSOCK>},
    {S_IFCHR, makeNode<S_IFCHR>},
};

KindOfThing const & thingOf(Kind kind)
{
    return kindsOfThings[static_cast<std::size_t>(kind)];
}

std::string encoded(QString const & path)
{
    return path.toStdString();
}

/// Changes the owner of a file to the user nobody. Without root rights, does nothing.
void handOver(std::string const & path)
{
    EXPECT_TRUE(::geteuid() != 0 || ::lchown(path.c_str(), nobody, nobody) == 0) << path;
}

/// Starts a process of the user nobody that continuously replaces the objects under some names in a
/// folder. The destructor kills the process. The process also ends when the test process ends.
class Racer
{
  public:
    Racer(std::string folder, std::string victim, std::vector<std::string> const & names,
          std::vector<Kind> const & kinds)
        : folder_(std::move(folder)), victim_(std::move(victim)), names_(names), kinds_(kinds),
          swaps_(new (::mmap(nullptr, sizeof *swaps_, PROT_READ | PROT_WRITE,
                             MAP_SHARED | MAP_ANONYMOUS, -1, 0)) std::atomic<int>(0)),
          parent_(::getpid()), process_(::fork())
    {
        if (process_ == 0)
            run();
    }
    ~Racer()
    {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
        ::munmap(static_cast<void *>(swaps_), sizeof *swaps_);
    }
    Racer(Racer const &) = delete;
    Racer & operator=(Racer const &) = delete;

    int swaps() const { return *swaps_; }

  private:
    [[noreturn]] void run()
    {
        bool const isOther =
            ::setresgid(nobody, nobody, nobody) == 0 && ::setresuid(nobody, nobody, nobody) == 0;
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (!isOther || ::getppid() != parent_)
            ::_exit(1);
        for (unsigned round = 0;; ++round) {
            exchange(names_[next() % names_.size()]);
            if (round % 4 == 0)
                exchangeTemporaryFiles();
        }
    }

    unsigned next() { return (random_ = random_ * 1664525 + 1013904223) >> 10; }

    void exchange(std::string const & name)
    {
        std::string const spare = folder_ + "/.spare";
        std::string const path = folder_ + '/' + name;
        std::error_code ignored;
        std::filesystem::remove_all(spare, ignored);
        if (!thingOf(kinds_[next() % kinds_.size()]).make(spare, victim_))
            return;
        if (next() % 2 == 0) { // old enough for a stale lock file
            timespec const old[] = {{1000, 0}, {1000, 0}};
            ::utimensat(AT_FDCWD, spare.c_str(), old, AT_SYMLINK_NOFOLLOW);
        }
        *swaps_ +=
            ::renameat2(AT_FDCWD, spare.c_str(), AT_FDCWD, path.c_str(), RENAME_EXCHANGE) == 0 ||
            ::rename(spare.c_str(), path.c_str()) == 0;
    }

    void exchangeTemporaryFiles()
    {
        std::error_code error;
        for (std::filesystem::directory_iterator entry(folder_, error), end; entry != end;
             entry.increment(error)) {
            std::string const name = entry->path().filename();
            if (name.starts_with(".oxshared-"))
                exchange(name);
        }
    }

    std::string const folder_;
    std::string const victim_;
    std::vector<std::string> const names_;
    std::vector<Kind> const kinds_;
    std::atomic<int> * const swaps_;
    pid_t const parent_;
    unsigned random_ = 1;
    pid_t const process_;
};

} // namespace

void NeighbourTest::SetUp()
{
    ::chmod(encoded(folder.path()).c_str(), 0755);
    ASSERT_EQ(::mkdir(encoded(inside("")).c_str(), 0755), 0);
    handOver(encoded(inside("")));
    for (char const * name : {"victim/folder", "victim/empty"})
        ASSERT_TRUE(QDir().mkpath(path(name)));
    for (char const * name : {"victim/file", "victim/folder/file", "victim/folder/file_lock.txt"})
        writeFile(path(name));
    ::chmod(encoded(path("victim/file")).c_str(), 0640);
    before_ = victim();
}

void NeighbourTest::TearDown()
{
    if (!IsSkipped()) {
        EXPECT_EQ(victim(), before_);
    }
}

bool NeighbourTest::isRoot()
{
    return ::geteuid() == 0;
}

QString NeighbourTest::inside(char const * name) const
{
    return path("theirs/") + QString::fromUtf8(name);
}

void NeighbourTest::plant(QString const & path, Kind kind) const
{
    ASSERT_TRUE(thingOf(kind).make(encoded(path), encoded(this->path("victim"))));
    handOver(encoded(path));
}

bool NeighbourTest::isStill(QString const & path, Kind kind)
{
    struct stat status;
    return ::lstat(encoded(path).c_str(), &status) == 0 &&
           (status.st_mode & S_IFMT) == thingOf(kind).type;
}

void NeighbourTest::race(std::vector<std::string> const & names, std::vector<Kind> const & kinds,
                         std::vector<Act> const & acts)
{
    using namespace std::chrono;
    char const * const wanted = std::getenv("OX_RACE_SECONDS");
    duration<double> const length(wanted ? std::atof(wanted) : 1);
    Racer const racer(encoded(inside("")), encoded(path("victim")), names, kinds);
    int rounds = 0;
    for (auto const end = steady_clock::now() + length; steady_clock::now() < end; ++rounds) {
        for (Act const & act : acts) {
            act.run();
            ASSERT_EQ(victim(), before_) << act.name;
        }
    }
    RecordProperty("rounds", rounds);
    RecordProperty("exchanges", racer.swaps());
    std::printf("%d rounds against %d exchanges\n", rounds, racer.swaps());
    EXPECT_GT(racer.swaps(), 0);
}

std::string NeighbourTest::victim() const
{
    std::string description;
    for (char const * name :
         {"", "file", "empty", "folder", "folder/file", "folder/file_lock.txt"}) {
        std::string const path = encoded(this->path("victim/")) + name;
        struct stat status {
        };
        description += name + std::string(::lstat(path.c_str(), &status) == 0 ? ":" : ": none");
        for (auto const part :
             {std::int64_t{status.st_mode}, std::int64_t{status.st_uid},
              std::int64_t{status.st_gid}, static_cast<std::int64_t>(status.st_nlink),
              std::int64_t{status.st_size}, std::int64_t{status.st_mtim.tv_sec},
              std::int64_t{status.st_mtim.tv_nsec}, std::int64_t{status.st_ctim.tv_sec},
              std::int64_t{status.st_ctim.tv_nsec}})
            description += ' ' + std::to_string(part);
        description += '\n';
        if (S_ISREG(status.st_mode))
            description += contentOf(this->path("victim/") + QString::fromUtf8(name)).toStdString();
    }
    return description;
}

} // namespace ox::tests
