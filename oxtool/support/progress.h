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

    /// With a `measure`, also shows the processed bytes, the rate and the remaining time. `all` is
    /// the total number of bytes.
    explicit Progress(QString const & what, qint64 all = 0, Measure const & measure = {});

    /// Amount of work on several files. `allFiles` and `allBytes` are the totals, 0 if unknown.
    struct Amount {
        qint64 files = 0;
        qint64 allFiles = 0;
        qint64 bytes = 0;
        qint64 allBytes = 0;
    };

    /// Returns the current amount. It is called periodically on another thread.
    using Measurement = std::function<Amount()>;

    /// Shows the processed files and bytes, the rate and the remaining time.
    Progress(QString const & what, Measurement measurement);
    ~Progress();
    Progress(Progress const &) = delete;
    Progress & operator=(Progress const &) = delete;

    /// Erases the progress line on the terminal, so that a message can take its place.
    static void erase();

    /// Erases the line of this object and calls `write`, which may write to the terminal. The next
    /// update shows the line again.
    void interrupt(std::function<void()> const & write);

  private:
    void show();

    QString const what_;
    Measurement const measurement_;
    std::mutex mutex_;
    std::condition_variable end_;
    bool ended_ = false;
    bool isShown_ = false;
    std::thread thread_;
};

} // namespace ox::tool
