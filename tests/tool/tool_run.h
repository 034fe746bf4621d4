#pragma once

#include <QJsonObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <ostream>

/// The built program, started with real arguments and streams.
class ToolRun
{
  public:
    explicit ToolRun(QStringList const & arguments, QString const & folder = {});
    /// Kills what is still running.
    ~ToolRun();

    /// Writes the whole standard input and closes it.
    void sendInput(QByteArray const & input);
    /// Waits until the standard output holds a text. False when the program ended before.
    bool waitForOutput(char const * text);
    /// Sends a signal by its name ("TERM").
    void send(char const * signal);
    /// Waits until a condition holds. False when the program ended before.
    bool waitUntil(std::function<bool()> const & condition);
    /// Waits for the end. The exit status as a shell shows it.
    int status();

    QString output() const { return QString::fromUtf8(output_); }
    QString errors();
    QJsonObject json();

  private:
    QProcess process_;
    QByteArray output_;
    QByteArray errors_;
};

/// A folder that stands for the farm's share, and is gone afterwards.
class Share
{
  public:
    QString path(QString const & name = {}) const { return dir_.path() + QLatin1Char('/') + name; }

    /// Writes a file and returns its path.
    QString write(QString const & name, QByteArray const & content) const;
    /// A buffer file of the given payload length that is nearly all hole. Returns its path.
    QString writeSparse(QString const & name, qint64 payload) const;

    /// All that is in the folder, hidden files too.
    QStringList names() const;

  private:
    QTemporaryDir dir_;
};

/// How a failed test shows a text.
inline void PrintTo(QString const & text, std::ostream * out)
{
    *out << text.toStdString();
}

QByteArray contentOf(QString const & path);
QByteArray golden(char const * name);
QString goldenPath(char const * name);
