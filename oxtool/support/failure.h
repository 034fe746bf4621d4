#pragma once

#include "shared/platform/result.h"

#include <QString>
#include <QStringList>

#include <exception>

namespace ox::tool
{

/// Exit status of the program. It has the same meaning in every command.
enum ExitStatus {
    Done = 0,
    Failed = 1,
    WrongUse = 2,
    Damaged = 3, ///< the content of a file failed its check
    Locked = 4,  ///< a lock was not available in time
    Missing = 5  ///< the file, folder, process or segment that the command is about does not exist
};

/// Returns the exit status for a system error about the subject of a command: `Missing` if the
/// subject does not exist, otherwise `Failed`.
ExitStatus statusOf(platform::Error error);

/// Combines the exit statuses of two steps. If only one step failed, returns the status of this
/// step. If both failed with the same status, returns this status; otherwise returns `Failed`.
int combinedStatus(int one, int other);

/// Exception that ends a command with a message for the user and the program's exit status.
class Failure : public std::exception
{
  public:
    explicit Failure(QString const & text, int status = Failed)
        : text_(text), what_(text.toUtf8()), status_(status)
    {
    }

    /// Creates a failure whose messages are already on standard error.
    static Failure reported(QStringList const & texts, int status = Failed)
    {
        Failure failure(texts.join(u'\n'), status);
        failure.isReported_ = true;
        return failure;
    }

    char const * what() const noexcept override { return what_.constData(); }
    QString const & text() const { return text_; }
    int status() const { return status_; }
    bool isReported() const { return isReported_; }

  private:
    QString text_;
    QByteArray what_;
    int status_;
    bool isReported_ = false;
};

} // namespace ox::tool
