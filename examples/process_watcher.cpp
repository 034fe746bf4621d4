// Watches the processes whose names begin with a prefix:
//   process_watcher PREFIX [ROUNDS]
// ROUNDS is the number of rounds, one a second; without it the program does not end.
// Each round prints the processor usage of every process, and the processes that have started or
// ended. The exit status is 0 if the last round found a process.

#include "shared/system/environment.h"
#include "shared/system/process_list.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>

namespace
{

class Watcher
{
  public:
    explicit Watcher(_oxString8_UnevenSize<25> const & prefix) : prefix_(prefix) {}

    /// Takes a snapshot and reports it. Returns the number of processes.
    int observe()
    {
        std::map<unsigned, _ProcessWatch> found;
        list_->collectProcesses(prefix_);
        list_->initGetProcessInfo();
        // Entry 0 is the idle process.
        for (int index = 1; index < list_->count; ++index) {
            list_->getProcessInfo(index);
            auto const & entry = list_->entries[index];
            found[entry.pid] = observeProcess(entry, index);
        }
        for (auto const & [pid, watch] : watches_) {
            if (!found.contains(pid))
                std::printf("ended    %6u %s\n", pid, watch.name.c_str());
        }
        watches_ = std::move(found);
        return static_cast<int>(watches_.size());
    }

  private:
    _ProcessWatch observeProcess(_oxProcessEntry const & entry, int index)
    {
        auto const known = watches_.find(entry.pid);
        // A new process may have the id of a process that has ended.
        bool const isNew = known == watches_.end() || known->second.name != entry.name;
        _ProcessWatch watch =
            isNew ? _ProcessWatch{.pid = entry.pid, .name = entry.name} : known->second;
        watch.calcCPUUsage(list_.get(), index, 1);
        std::printf("%s %6u %s: %.1f %% of one core, %d MiB, user %s\n",
                    isNew ? "started " : "running ", entry.pid, entry.name.c_str(),
                    static_cast<double>(watch.cpuUsage), entry.memMB, entry.user.c_str());
        return watch;
    }

    _oxString8_UnevenSize<25> prefix_;
    std::unique_ptr<_oxProcessList> list_ = std::make_unique<_oxProcessList>(); // 80 KiB
    std::map<unsigned, _ProcessWatch> watches_;
};

} // namespace

int main(int argc, char ** argv)
{
    if (argc < 2) {
        std::fputs("usage: process_watcher PREFIX [ROUNDS]\n", stderr);
        return 2;
    }
    Watcher watcher(argv[1]);
    int const rounds = argc > 2 ? std::atoi(argv[2]) : 0;
    for (int round = 1;; ++round) {
        int const count = watcher.observe();
        std::fflush(stdout);
        if (round == rounds)
            return count > 0 ? 0 : 1;
        oxSleep(1000);
    }
}
