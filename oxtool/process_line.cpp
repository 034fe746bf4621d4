#include "oxtool/process_line.h"

#include "oxtool/names.h"

namespace ox::tool
{
namespace
{

QString inColumns(QString const & id, QString const & parent, QString const & user,
                  QString const & memory, QString const & figures, QString const & name)
{
    return QStringLiteral("%1 %2  %3 %4  %5  %6")
        .arg(id.rightJustified(7), parent.rightJustified(7), user.leftJustified(12),
             memory.rightJustified(7), figures, name);
}

} // namespace

QString processHeading(QString const & figures)
{
    return inColumns(QStringLiteral("PID"), QStringLiteral("PARENT"), QStringLiteral("USER"),
                     QStringLiteral("MIB"), figures, QStringLiteral("NAME"));
}

QString processLine(_oxProcessEntry const & entry, QString const & figures)
{
    QString const user = entry.user.isEmpty() ? QStringLiteral("-") : QString(entry.user);
    return inColumns(QString::number(entry.pid), QString::number(entry.parentPid), shownName(user),
                     QString::number(entry.memMB), figures, shownName(QString(entry.name)));
}

} // namespace ox::tool
