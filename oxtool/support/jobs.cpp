// A small thread pool. QThreadPool is not used: if the system cannot create a thread, QThreadPool
// neither runs the work nor reports an error.

#include "oxtool/support/jobs.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace ox::tool
{
namespace
{

class Pool
{
  public:
    Pool(std::size_t count, std::function<void(std::size_t)> const & work)
        : work_(work), isDone_(count), failures_(count)
    {
    }

    ~Pool()
    {
        {
            std::lock_guard const guard(mutex_);
            next_ = isDone_.size();
        }
        for (std::thread & thread : threads_)
            thread.join();
    }

    Pool(Pool const &) = delete;
    Pool & operator=(Pool const &) = delete;

    /// Starts up to `jobs` threads. Returns false if the system cannot create even one.
    bool start(std::size_t jobs)
    {
        try {
            while (threads_.size() < jobs)
                threads_.emplace_back([this] { workOnItems(); });
        } catch (std::system_error const &) {
            // If a thread cannot be created, the work runs on fewer threads.
        }
        return !threads_.empty();
    }

    /// Waits until the work on `item` has ended, and rethrows its exception.
    void wait(std::size_t item)
    {
        std::unique_lock guard(mutex_);
        done_.wait(guard, [&] { return isDone_[item]; });
        if (failures_[item])
            std::rethrow_exception(failures_[item]);
    }

  private:
    void workOnItems()
    {
        std::unique_lock guard(mutex_);
        while (next_ < isDone_.size()) {
            std::size_t const item = next_++;
            guard.unlock();
            std::exception_ptr const failure = workOn(item);
            guard.lock();
            failures_[item] = failure;
            isDone_[item] = true;
            done_.notify_one();
        }
    }

    std::exception_ptr workOn(std::size_t item) const
    try {
        work_(item);
        return nullptr;
    } catch (...) {
        return std::current_exception();
    }

    std::function<void(std::size_t)> const & work_;
    std::mutex mutex_;
    std::condition_variable done_;
    std::size_t next_ = 0;
    std::vector<bool> isDone_;
    std::vector<std::exception_ptr> failures_;
    std::vector<std::thread> threads_;
};

} // namespace

Option jobsOption(int & jobs)
{
    return {.name = "--jobs",
            .letter = 'j',
            .valueName = "N",
            .help = "Number of files to process in parallel; default 8, or 1 with pauses",
            .target = &jobs,
            .range = Range{1, 256}};
}

int threadCount(int jobs, bool hasPauses)
{
    constexpr int forShares = 8;
    if (jobs > 0)
        return jobs;
    return hasPauses ? 1 : forShares;
}

void runJobs(int jobs, std::size_t count, std::function<void(std::size_t)> const & work,
             std::function<bool(std::size_t)> const & finish)
{
    std::size_t const threads = std::min(static_cast<std::size_t>(std::max(jobs, 1)), count);
    Pool pool(count, work);
    bool const isParallel = threads > 1 && pool.start(threads);
    for (std::size_t item = 0; item < count; ++item) {
        if (isParallel)
            pool.wait(item);
        else
            work(item);
        if (!finish(item))
            return;
    }
}

} // namespace ox::tool
