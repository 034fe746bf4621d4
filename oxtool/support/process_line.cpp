#include "oxtool/support/process_line.h"

#include "oxtool/support/shown_text.h"

namespace ox::tool
{
namespace
{

QString inColumns(QString const & id, QString const & parent, QString const & user,
                  QString const & memory, QString const & figures, QString const & name)
{
    return QStringLiteral("%1 %2  %3 %4  %5  %6")
        .arg(id.rightJustified(7), parent.rightJustified(7), padded(user, 12),
             memory.rightJustified(7), figures, name);
}

} // namespace

QString processHeading(QString const & figures)
{
    return inColumns(QStringLiteral("PID"), QStringLiteral("PARENT"), QStringLiteral("USER"),
                     QStringLiteral("MIB"), figures, QStringLiteral("NAME"));
}

QString processCount(int listed, int total)
{
    QString const all = QStringLiteral("%1 processes").arg(total);
    return listed == total ? all : QStringLiteral("%1 of %2").arg(listed).arg(all);
}

QString processLine(_oxProcessEntry const & entry, QString const & figures)
{
    QString const user = entry.user.isEmpty() ? QStringLiteral("-") : QString(entry.user);
    return inColumns(QString::number(entry.pid), QString::number(entry.parentPid), shownText(user),
                     QString::number(entry.memMB), figures, QString(entry.name));
}

} // namespace ox::tool
