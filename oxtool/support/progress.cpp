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

/// Returns the amount, the rate and the remaining time. Returns an empty text before the first byte
/// and after the last byte, when there is no rate.
QString bytesText(qint64 done, qint64 all, double seconds)
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

/// Returns the text of an amount whose total size is unknown: amount, rate and remaining time. The
/// remaining time is estimated from the number of files.
QString estimateText(Progress::Amount const & amount, double seconds)
{
    double const mebibytes = static_cast<double>(amount.bytes) / text::mebibyte;
    QString const bytes = QStringLiteral(", %1 MiB, %2 MiB/s")
                              .arg(mebibytes, 0, 'f', 1)
                              .arg(mebibytes / seconds, 0, 'f', 1);
    auto const left = static_cast<double>(amount.allFiles - amount.files);
    return (amount.bytes > 0 ? bytes : QString()) +
           QStringLiteral(", %1 s left")
               .arg(seconds * left / static_cast<double>(amount.files), 0, 'f', 0);
}

QString amountText(Progress::Amount const & amount, double seconds)
{
    QString text;
    if (amount.allFiles > 1)
        text = QStringLiteral(", %1 of %2 files").arg(amount.files).arg(amount.allFiles);
    bool const isEstimated = amount.allBytes == 0 && amount.files > 0;
    return text + (isEstimated ? estimateText(amount, seconds)
                               : bytesText(amount.bytes, amount.allBytes, seconds));
}

} // namespace

Progress::Progress(QString const & what, qint64 all, Measure const & measure)
    : Progress(what, [=] {
          return Amount{0, 0, measure ? measure() : 0, all};
      })
{
}

Progress::Progress(QString const & what, Measurement measurement)
    : what_(shownText(what)), measurement_(std::move(measurement))
{
    if (!platform::isTerminal(stderr))
        return;
    try {
        thread_ = std::thread(&Progress::show, this);
    } catch (std::system_error const &) {
        // If the thread cannot be created, the work runs without a progress line.
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

void Progress::interrupt(std::function<void()> const & write)
{
    std::lock_guard const guard(mutex_);
    if (isShown_)
        erase();
    write();
}

void Progress::show()
{
    auto const start = std::chrono::steady_clock::now();
    std::unique_lock guard(mutex_);
    while (!end_.wait_for(guard, isShown_ ? 200ms : 500ms, [this] { return ended_; })) {
        std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - start;
        QString const figures = QStringLiteral(" %1 s").arg(elapsed.count(), 0, 'f', 1) +
                                amountText(measurement_(), elapsed.count());
        // The last column stays empty: a character there may wrap the line.
        int const columns = platform::terminalSize(stderr).columns - 1;
        QString const line =
            cutInMiddle(what_, columns - static_cast<int>(figures.size())) + figures;
        std::fprintf(stderr, "\r\033[K%s", cutAtEnd(line, columns).toUtf8().constData());
        std::fflush(stderr);
        isShown_ = true;
    }
    if (isShown_)
        erase();
}

} // namespace ox::tool
