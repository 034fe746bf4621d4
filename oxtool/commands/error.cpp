#include "oxtool/commands/commands.h"
#include "oxtool/support/failure.h"
#include "oxtool/support/reason.h"
#include "oxtool/support/report.h"
#include "shared/platform/result.h"
#include "shared/system/os_error.h"
#include "shared/text/utf16_view.h"

#include <limits>
#include <optional>

namespace ox::tool
{
namespace
{

struct Options {
    QString number;
    bool json = false;
};

/// Parses a 32-bit number, such as "5", "-1073741819" or "0xC0000005".
std::optional<quint32> parseNumber(QString const & text)
{
    bool isNumber = false;
    qint64 const number = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)
                              ? text.mid(2).toLongLong(&isNumber, 16)
                              : text.toLongLong(&isNumber);
    bool const isInRange = number >= std::numeric_limits<qint32>::min() &&
                           number <= std::numeric_limits<quint32>::max();
    return isNumber && isInRange ? std::optional(static_cast<quint32>(number)) : std::nullopt;
}

/// Returns the system's message for an error code; empty if the system has none.
QString systemMessage(quint32 code)
{
    auto const message = platform::errorMessage(static_cast<int>(code));
    return message ? text::toQString(*message) : QString();
}

/// Returns the text of an exception code; empty if the code is unknown.
QString exceptionText(quint32 code)
{
    QString const text = exceptionCodeText(code);
    return text.startsWith(QLatin1String("EXCEPTION code ")) ? QString() : text;
}

void showText(char const * name, QString const & text, Report & report)
{
    QString const label = QString::fromLatin1(name);
    report.set(label, text.isEmpty() ? QJsonValue() : QJsonValue(text));
    report.line(label, text.isEmpty() ? QStringLiteral("unknown") : text);
}

void show(Options const & options, Report & report)
{
    auto const number = parseNumber(options.number);
    if (!number)
        throw Failure(QStringLiteral("'%1' is not a 32-bit number").arg(options.number), WrongUse);
    report.set(QStringLiteral("number"), static_cast<qint32>(*number));
    report.set(QStringLiteral("hexadecimal"), hexText(*number));
    report.line(QStringLiteral("number"),
                QStringLiteral("%1, 0x%2").arg(static_cast<qint32>(*number)).arg(hexText(*number)));
    showText("system", systemMessage(*number), report);
    showText("exception", exceptionText(*number), report);
}

} // namespace

Command errorCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "error",
            .group = Group::Diagnosis,
            .summary = "Show the text of a system error or an exception code",
            .details = "System error numbers are those of the system that oxtool runs on.",
            .options = {{.name = "NUMBER",
                         .help = "Decimal, or hexadecimal after 0x",
                         .target = &options->number,
                         .isRequired = true},
                        jsonOption(options->json)},
            .examples = {"oxtool error 2", "oxtool error 0xC0000005"},
            .run = reporting(options, show)};
}

} // namespace ox::tool
