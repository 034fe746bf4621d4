#pragma once

#include <QString>
#include <QStringList>

#include <exception>

namespace ox::tool
{

enum ExitStatus { Done = 0, Failed = 1, WrongUse = 2 };

/// Exception that ends a command with a message for the user and the program's exit status.
class Failure : public std::exception
{
  public:
    explicit Failure(QString const & text, int status = Failed)
        : text_(text), what_(text.toUtf8()), status_(status)
    {
    }

    /// Creates a failure whose messages are already on standard error.
    static Failure reported(QStringList const & texts)
    {
        Failure failure(texts.join(u'\n'));
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
