#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <exception>
#include <functional>
#include <memory>

namespace ox::tool
{

/// Writes the result of a command to standard output, as bytes. finishOutput() reports a failure.
void writeOutput(char const * bytes, qint64 size);

/// Writes one line to standard output in UTF-8, escaped by shownText(), and flushes it.
void writeLine(QString const & line);

/// Returns whether a write to standard output has failed. A command that runs until Ctrl-C also
/// ends when this function returns true.
bool isOutputLost();

/// Writes a JSON object with the member "ok" in one line to standard output, and flushes it.
void writeJsonLine(QJsonObject object);

/// Writes "oxtool: " and the text, escaped by shownText(), to standard error.
void writeError(QString const & text);

/// Closes standard output. If output was lost, returns false and reports the reason on standard
/// error. If the reader has closed the pipe, returns false without a message. If the process has no
/// standard output, and only a Report was written, returns true although the Report is lost.
bool finishOutput();

/// Writes the result of a command: as text, each line immediately, or as one JSON object at the
/// end.
class Report
{
  public:
    explicit Report(bool asJson) : asJson_(asJson) {}

    /// Writes a line. Has no effect in JSON form.
    void text(QString const & line) const;

    /// Writes a line "label  text". Has no effect in JSON form.
    void line(QString const & label, QString const & text) const;

    /// Sets a member of the JSON object. Has no effect in text form.
    void set(QString const & name, QJsonValue const & value);

    /// Begins the JSON object with an array member. append() writes each element of the array
    /// immediately, so that a long array needs no memory. The other members follow the array. Call
    /// beginArray() at most once. Has no effect in text form.
    void beginArray(QString const & name);
    void append(QJsonObject const & element);

    /// Writes the JSON object with the member "ok" and, for a failure, "error".
    void finish(QString const & failure = QString());

  private:
    bool asJson_;
    QJsonObject members_;
    enum class Array { None, Empty, HasElements };
    Array array_ = Array::None;
};

/// Returns the message of an exception.
QString messageOf(std::exception const & error);

/// Runs the work of a command and finishes its report. Returns `Done`. If `work` throws, the report
/// contains the message, and the exception is rethrown.
int runReported(bool asJson, std::function<void(Report &)> const & work);

/// Runs the work of a command that writes one JSON object per line. Writes a failure as the last
/// line, and rethrows it.
int runInLines(bool asJson, std::function<void()> const & work);

/// Returns a function that calls runReported() with the options of a command. `Options` has a
/// member `json`.
template <typename Options, typename Work>
auto reporting(std::shared_ptr<Options> const & options, Work work)
{
    return [options, work] {
        return runReported(options->json, [&](Report & report) { work(*options, report); });
    };
}

/// Returns "3520 bytes"; if the size is at least 1 MiB, appends it in MiB: " (1.5 MiB)".
QString sizeText(qint64 bytes);

/// Returns a number in upper-case hexadecimal, padded with zeros to `digits`.
QString hexText(quint64 value, int digits = 8);

/// Returns a time (seconds since 1970-01-01 UTC) as local time: "2026-11-21 04:31:27".
QString timeText(qint64 seconds);
/// Returns a time (seconds since 1970-01-01 UTC) in UTC as ISO 8601: "2026-11-21T03:31:27Z".
QString jsonTime(qint64 seconds);

} // namespace ox::tool
