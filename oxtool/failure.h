#pragma once

#include <QString>

#include <exception>

namespace ox::tool
{

enum ExitStatus { Done = 0, Failed = 1, WrongUse = 2 };

/// Ends a command: the text is what the user reads, `status` the program's exit status.
class Failure : public std::exception
{
  public:
    explicit Failure(QString const & text, int status = Failed)
        : text_(text.toUtf8()), status_(status)
    {
    }

    char const * what() const noexcept override { return text_.constData(); }
    QString text() const { return QString::fromUtf8(text_); }
    int status() const { return status_; }

  private:
    QByteArray text_;
    int status_;
};

} // namespace ox::tool
