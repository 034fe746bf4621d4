#include "oxtool/support/lock_state.h"

#include "oxtool/support/report.h"

namespace ox::tool
{
namespace
{

QJsonValue liveJson(_oxFileLockStatus const & status)
{
    if (status.holder == _oxFileLockStatus::Unknown)
        return QJsonValue();
    return status.holder == _oxFileLockStatus::Process;
}

} // namespace

QString holderName(_oxFileLockStatus const & status)
{
    return status.who.isEmpty() ? QStringLiteral("an unknown holder") : status.who;
}

QString holderText(_oxFileLockStatus const & status)
{
    return QStringLiteral("%1 since %2").arg(holderName(status), timeText(status.since.value));
}

QString lockStateText(_oxFileLockStatus const & status)
{
    switch (status.holder) {
    case _oxFileLockStatus::Process:
        return QStringLiteral("held");
    case _oxFileLockStatus::Unknown:
        return QStringLiteral("cannot tell");
    case _oxFileLockStatus::Nobody:
        break;
    }
    return QStringLiteral("left behind");
}

QJsonObject lockJson(_oxFileLockStatus const & status)
{
    return {{QStringLiteral("who"), status.who},
            {QStringLiteral("since"), jsonTime(status.since.value)},
            {QStringLiteral("live"), liveJson(status)},
            {QStringLiteral("stale"), status.isStale}};
}

} // namespace ox::tool
