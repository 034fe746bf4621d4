#pragma once

#include "shared/fs/file_locker.h"

#include <QJsonObject>
#include <QString>

namespace ox::tool
{

/// Returns who holds a lock, as the lock file describes it.
QString holderName(_oxFileLockStatus const & status);

/// Returns who holds a lock, and since when: "user@host oxtool 4711 since 2026-11-21 04:31:27".
QString holderText(_oxFileLockStatus const & status);

/// Returns the state of an existing lock file in two words at most: "held", "left behind" or
/// "cannot tell".
QString lockStateText(_oxFileLockStatus const & status);

/// Returns the members of an existing lock file's state: who, since, live and stale.
QJsonObject lockJson(_oxFileLockStatus const & status);

} // namespace ox::tool
