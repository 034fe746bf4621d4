#include "oxtool/support/progress.h"

#include "oxtool/support/shown_text.h"
#include "shared/platform/program/console.h"
#include "shared/platform/program/terminal.h"
#include "shared/text/mebibytes.h"

#include <cstdio>
#include <system_error>
#include <utility>

namespace ox::tool
{
namespace
{

using namespace std::chrono_literals;

/// Returns the amount, the rate and the remaining time; empty before the first byte and after the
/// last, when there is no rate.
QString amountText(qint64 done, qint64 all, double seconds)
{
    if (done <= 0 || done >= all)
        return {};
    constexpr double mebibyte = text::mebibyte;
    double const rate = static_cast<double>(done) / seconds;
    return QStringLiteral(", %1 %, %2 of %3 MiB, %4 MiB/s, %5 s left")
        .arg(done * 100 / all)
        .arg(static_cast<double>(done) / mebibyte, 0, 'f', 1)
        .arg(static_cast<double>(all) / mebibyte, 0, 'f', 1)
        .arg(rate / mebibyte, 0, 'f', 1)
        .arg(static_cast<double>(all - done) / rate, 0, 'f', 0);
}

} // namespace

Progress::Progress(QString const & what, qint64 all, Measure measure)
    : what_(shownText(what)), all_(all), measure_(std::move(measure))
{
    if (!platform::isTerminal(stderr))
        return;
    try {
        thread_ = std::thread(&Progress::show, this);
    } catch (std::system_error const &) {
        // The work runs without a progress line.
    }
}

Progress::~Progress()
{
    if (!thread_.joinable())
        return;
    {
        std::lock_guard const guard(mutex_);
        ended_ = true;
    }
    end_.notify_one();
    thread_.join();
}

void Progress::erase()
{
    if (platform::isTerminal(stderr))
        std::fputs("\r\033[K", stderr);
}

void Progress::show()
{
    auto const start = std::chrono::steady_clock::now();
    std::unique_lock guard(mutex_);
    bool shown = false;
    while (!end_.wait_for(guard, shown ? 200ms : 500ms, [this] { return ended_; })) {
        std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - start;
        QString figures = QStringLiteral(" %1 s").arg(elapsed.count(), 0, 'f', 1);
        if (measure_)
            figures += amountText(measure_(), all_, elapsed.count());
        // A character in the last column may wrap the line.
        int const columns = platform::terminalSize(stderr).columns - 1;
        QString const line =
            cutInMiddle(what_, columns - static_cast<int>(figures.size())) + figures;
        std::fprintf(stderr, "\r\033[K%s", cutAtEnd(line, columns).toUtf8().constData());
        std::fflush(stderr);
        shown = true;
    }
    if (shown)
        erase();
}

} // namespace ox::tool
