#pragma once

#include <QString>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace ox::tool
{

/// Shows on a terminal what takes long: one line on standard error, rewritten a few times a second
/// and wiped out at the end. It comes up after half a second, and never when standard error is no
/// terminal.
class Progress
{
  public:
    explicit Progress(QString const & what);
    ~Progress();
    Progress(Progress const &) = delete;
    Progress & operator=(Progress const &) = delete;

    /// How far the work is, behind what is done. Cheap enough to be called often.
    void at(qint64 done, qint64 all);

  private:
    void show();

    QString const what_;
    std::mutex mutex_;
    std::condition_variable end_;
    bool ended_ = false;
    qint64 done_ = 0;
    qint64 all_ = 0;
    std::thread shower_;
};

} // namespace ox::tool
