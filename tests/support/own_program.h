#pragma once

#include <QByteArray>
#include <QString>

namespace ox::tests
{

/// The path of this program, with the separators that Qt uses.
QString ownProgram();

/// Runs the disabled test `Child.name` in a process of its own and returns what it printed.
/// The program is this one or a copy of it.
QByteArray runDisabledTest(QString const & program, QString const & name);

} // namespace ox::tests
