#pragma once

#include <QByteArray>
#include <QString>

namespace ox::tests
{

/// Returns the path of this program. The separators are slashes.
QString ownProgram();

/// Runs the disabled test `Child.name` in a separate process and returns its output. `program` is
/// the path of this program or of a copy of it.
QByteArray runDisabledTest(QString const & program, QString const & name);

} // namespace ox::tests
