#pragma once

#include "shared/fs/file_locker.h"

#include <QJsonObject>
#include <QString>

namespace ox::tool
{

/// Returns the holder of a lock, as the lock file describes it.
QString holderName(_oxFileLockStatus const & status);

/// Returns the holder of a lock with the time: "user@host oxtool 4711 since 2026-11-21 04:31:27".
QString holderText(_oxFileLockStatus const & status);

/// Returns the state of an existing lock file: "held", "left behind" or "cannot tell".
QString lockStateText(_oxFileLockStatus const & status);

/// Returns the state of an existing lock file as JSON members: who, since, live and stale.
QJsonObject lockJson(_oxFileLockStatus const & status);

} // namespace ox::tool
