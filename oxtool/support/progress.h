#pragma once

#include <QString>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace ox::tool
{

/// Shows on a terminal what takes long: one line on standard error, rewritten a few times a second
/// and wiped out at the end. It comes up after half a second, and never when standard error is no
/// terminal or the system has no thread left.
class Progress
{
  public:
    /// Tells the number of bytes done. Called now and then on a thread of its own.
    using Measure = std::function<qint64()>;

    /// With `all` bytes to do, also shows how many are done, how fast, and the time that is left.
    explicit Progress(QString const & what, qint64 all = 0, Measure measure = {});
    ~Progress();
    Progress(Progress const &) = delete;
    Progress & operator=(Progress const &) = delete;

    /// Wipes out the line, so that something else can be written there.
    static void wipe();

  private:
    void show();

    QString const what_;
    qint64 const all_;
    Measure const measure_;
    std::mutex mutex_;
    std::condition_variable end_;
    bool ended_ = false;
    std::thread shower_;
};

} // namespace ox::tool
