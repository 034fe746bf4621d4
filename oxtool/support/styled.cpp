#include "oxtool/support/styled.h"

#include "oxtool/support/report.h"
#include "oxtool/support/shown_text.h"
#include "shared/platform/program/terminal.h"

#include <cstdio>

namespace ox::tool
{
namespace
{

bool usesColours()
{
    static bool const uses =
        qEnvironmentVariableIsEmpty("NO_COLOR") && platform::hasColours(stdout);
    return uses;
}

} // namespace

QByteArray styled(QString const & line, Style style)
{
    QByteArray text = shownText(line).toUtf8();
    if (style == Style::None || !usesColours())
        return text;
    // Control sequences for bold, and for bold yellow.
    return (style == Style::Heading ? "\033[1m" : "\033[1;33m") + text + "\033[0m";
}

void writeStyledLine(QString const & line, Style style)
{
    if (!usesColours()) {
        writeLine(line);
        return;
    }
    QByteArray const bytes = styled(line, style) + '\n';
    writeOutput(bytes.constData(), bytes.size());
}

} // namespace ox::tool
