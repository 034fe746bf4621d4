#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/report.h"
#include "shared/time/time_value.h"

#include <QDateTime>

#include <optional>

namespace ox::tool
{
namespace
{

struct Options {
    QString value;
    bool json = false;
};

/// Function that returns a time as text, with the name of the function.
struct Form {
    char const * name;
    QString (_oxTime::*text)() const;
};

constexpr Form forms[] = {
    {"asString", &_oxTime::asString},
    {"asStringHourMinSec", &_oxTime::asStringHourMinSec},
    {"asStringHourMin", &_oxTime::asStringHourMin},
    {"asStringDateHourMin", &_oxTime::asStringDateHourMin},
    {"asStringDate", &_oxTime::asStringDate},
    {"asStringMonth", &_oxTime::asStringMonth},
    {"asStringweekDay", &_oxTime::asStringweekDay},
    {"asStringWeekDateMonth", &_oxTime::asStringWeekDateMonth},
    {"asStringWeekHourMin", &_oxTime::asStringWeekHourMin},
    {"asStringMonthYear", &_oxTime::asStringMonthYear},
    {"asStringYear", &_oxTime::asStringYear},
    {"asStringYear2", &_oxTime::asStringYear2},
    {"asStringYearOnly", &_oxTime::asStringYearOnly},
    {"asStringYearOnly2", &_oxTime::asStringYearOnly2},
    {"asStringFileNameDate", &_oxTime::asStringFileNameDate},
    {"asStringFileNameHour", &_oxTime::asStringFileNameHour},
    {"asStringFileNameYearMinute", &_oxTime::asStringFileNameYearMinute},
    {"asStringFileNameYear10Minute", &_oxTime::asStringFileNameYear10Minute},
    {"asStringFileName", &_oxTime::asStringFileName},
    {"asStringFileName_TruncSec", &_oxTime::asStringFileName_TruncSec},
};

/// Parses "now", seconds since 1970, or a time in ISO 8601. A time without a time zone is local.
std::optional<_oxTime> parseTime(QString const & text)
{
    if (text == QLatin1String("now"))
        return _oxTime(true);
    bool isNumber = false;
    if (qint64 const seconds = text.toLongLong(&isNumber); isNumber)
        return _oxTime(seconds, true);
    QDateTime const time = QDateTime::fromString(text, Qt::ISODate);
    return time.isValid() ? std::optional(_oxTime(time.toSecsSinceEpoch(), true)) : std::nullopt;
}

void showForm(char const * name, QString const & text, QJsonObject & json, Report & report)
{
    json.insert(QString::fromLatin1(name), text);
    report.text(QString::fromLatin1(name).leftJustified(30) + text);
}

void show(Options const & options, Report & report)
{
    auto const time = parseTime(options.value);
    if (!time)
        throw Failure(QStringLiteral("'%1' is not a time; examples: now, 1793955907, "
                                     "2026-11-14T09:05:07Z")
                          .arg(options.value),
                      WrongUse);
    QString const seconds = QString::number(static_cast<qint64>(time->value));
    report.set(QStringLiteral("seconds"), static_cast<qint64>(time->value));
    report.set(QStringLiteral("time"), oxPrintedText(*time));
    report.text(QStringLiteral("seconds since 1970").leftJustified(30) + seconds);
    report.text(QStringLiteral("UTC").leftJustified(30) + oxPrintedText(*time));
    report.text(QStringLiteral("local time").leftJustified(30) + timeText(time->value));
    QJsonObject texts;
    for (Form const & form : forms)
        showForm(form.name, ((*time).*form.text)(), texts, report);
    showForm("asOX8String", time->asOX8String(), texts, report);
    showForm("asOX8StringDateMonthYear", time->asOX8StringDateMonthYear(), texts, report);
    showForm("asOX8StringDateMonth", time->asOX8StringDateMonth(), texts, report);
    report.set(QStringLiteral("texts"), texts);
}

} // namespace

Command timeCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "time",
            .group = Group::Diagnosis,
            .summary = "Show a time in all text forms of the library",
            .options = {{.name = "VALUE",
                         .help = "Seconds since 1970, a time in ISO 8601, or \"now\"",
                         .target = &options->value,
                         .isRequired = true},
                        jsonOption(options->json)},
            .examples = {"oxtool time 2026-11-14T09:05:07Z"},
            .run = reporting(options, show)};
}

} // namespace ox::tool
