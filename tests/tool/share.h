#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace ox::tests
{

/// Temporary folder that simulates the farm's share; removed at the end of the scope.
class Share
{
  public:
    QString path(QString const & name = {}) const { return folder_.path() + u'/' + name; }

    /// Writes a file and returns its path.
    QString write(QString const & name, QByteArray const & content) const;
    /// Writes a sparse buffer file with a payload of this size in bytes. Returns its path.
    QString writeSparse(QString const & name, qint64 payload) const;

    /// Returns the names of all entries, including hidden ones.
    QStringList names() const;

  private:
    QTemporaryDir folder_;
};

} // namespace ox::tests
