#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <exception>
#include <functional>
#include <memory>

namespace ox::tool
{

/// Writes the bytes that a command is asked for to standard output. What cannot be written is
/// reported once, by `finishOutput`.
void writeOutput(char const * bytes, qint64 size);

/// Writes one line of text to standard output, in UTF-8, and passes it on at once. The line is
/// written as shownText() returns it.
void writeLine(QString const & line);

/// Whether something could not be written, so that there is no use in going on for ever.
bool isOutputLost();

/// Writes "oxtool: " and the text, as shownText() returns it, to standard error.
void writeError(QString const & text);

/// Closes standard output. False when something was lost; the reason is on standard error, unless
/// it only was that the reader had seen enough. A report is not lost when there is no standard
/// output.
bool finishOutput();

/// What a command has to say: lines for people as they come up, or one JSON object at the end.
class Report
{
  public:
    explicit Report(bool asJson) : asJson_(asJson) {}

    /// A line for people. Nothing in JSON form.
    void text(QString const & line) const;

    /// A line "label  text" for people. Nothing in JSON form.
    void line(QString const & label, QString const & text) const;

    /// A member of the JSON object. Nothing in text form.
    void set(QString const & name, QJsonValue const & value);

    /// Begins the JSON object with a member that is an array, and writes it element by element, so
    /// that a long one takes no memory. The other members follow it. One array a report. Nothing in
    /// text form.
    void beginArray(QString const & name);
    void append(QJsonObject const & element);

    /// Writes the JSON object, with the members "ok" and, when there is a failure, "error".
    void finish(QString const & failure = QString());

  private:
    bool asJson_;
    QJsonObject members_;
    enum class Array { None, Empty, HasElements };
    Array array_ = Array::None;
};

/// Why a command failed, for people.
QString messageOf(std::exception const & error);

/// Runs the work of a command and finishes its report, also when the work fails.
int runReported(bool asJson, std::function<void(Report &)> const & work);

/// The same for later, with the options of a command, whose member `json` they have.
template <typename Options, typename Work>
auto reporting(std::shared_ptr<Options> const & options, Work work)
{
    return [options, work] {
        return runReported(options->json, [&](Report & report) { work(*options, report); });
    };
}

/// "3520 bytes", and in MiB too when that is easier to read.
QString sizeText(qint64 bytes);

/// Eight digits (or as many as asked for) of hexadecimal.
QString hexText(quint64 value, int digits = 8);

/// A time in seconds since 1970-01-01 UTC: the local time for people, ISO 8601 in UTC for scripts.
QString timeText(qint64 seconds);
QString jsonTime(qint64 seconds);

} // namespace ox::tool
