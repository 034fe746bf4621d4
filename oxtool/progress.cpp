#include "oxtool/progress.h"

#include "shared/platform/console.h"

#include <cstdio>

namespace ox::tool
{

using namespace std::chrono_literals;

Progress::Progress(QString const & what) : what_(what)
{
    if (platform::isTerminal(stderr))
        shower_ = std::thread(&Progress::show, this);
}

Progress::~Progress()
{
    if (!shower_.joinable())
        return;
    {
        std::lock_guard const guard(mutex_);
        ended_ = true;
    }
    end_.notify_one();
    shower_.join();
}

void Progress::at(qint64 done, qint64 all)
{
    std::lock_guard const guard(mutex_);
    done_ = done;
    all_ = all;
}

void Progress::show()
{
    auto const start = std::chrono::steady_clock::now();
    std::unique_lock guard(mutex_);
    bool shown = false;
    while (!end_.wait_for(guard, shown ? 200ms : 500ms, [this] { return ended_; })) {
        std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - start;
        QString line = QStringLiteral("%1 %2 s").arg(what_).arg(elapsed.count(), 0, 'f', 1);
        if (all_ > 0)
            line += QStringLiteral(", %1 %").arg(done_ * 100 / all_);
        line.truncate(platform::terminalWidth(stderr) - 1);
        std::fprintf(stderr, "\r\033[K%s", line.toUtf8().constData());
        std::fflush(stderr);
        shown = true;
    }
    if (shown)
        std::fputs("\r\033[K", stderr);
}

} // namespace ox::tool
