#pragma once

#include <QString>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace ox::tool
{

/// Shows the progress of work in one line of the terminal of standard error. The line appears after
/// half a second, is updated every 200 ms, and is erased at the end. Without a terminal, or if no
/// thread can be created, nothing is shown.
class Progress
{
  public:
    /// Returns the number of processed bytes. It is called periodically on another thread.
    using Measure = std::function<qint64()>;

    /// With a `measure`, also shows the processed bytes of `all`, the rate and the remaining time.
    explicit Progress(QString const & what, qint64 all = 0, Measure measure = {});
    ~Progress();
    Progress(Progress const &) = delete;
    Progress & operator=(Progress const &) = delete;

    /// Erases the line, so that a message can be written there.
    static void erase();

  private:
    void show();

    QString const what_;
    qint64 const all_;
    Measure const measure_;
    std::mutex mutex_;
    std::condition_variable end_;
    bool ended_ = false;
    std::thread thread_;
};

} // namespace ox::tool
