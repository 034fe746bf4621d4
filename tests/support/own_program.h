#pragma once

#include <QByteArray>
#include <QString>

namespace ox::tests
{

/// Returns the path of this program, with the separators of Qt.
QString ownProgram();

/// Runs the disabled test `Child.name` in a separate process and returns its output. `program` is
/// this program or a copy of it.
QByteArray runDisabledTest(QString const & program, QString const & name);

} // namespace ox::tests
