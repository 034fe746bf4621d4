#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace ox::tests
{

/// A temporary folder that represents the farm's share. The destructor removes the folder.
class Share
{
  public:
    QString path(QString const & name = {}) const { return folder_.path() + u'/' + name; }

    /// Writes a file and returns its path.
    QString write(QString const & name, QByteArray const & content) const;
    /// Writes a sparse buffer file whose payload has the given size in bytes. Returns the path of
    /// the file.
    QString writeSparse(QString const & name, qint64 payload) const;

    /// Returns the names of all entries, including hidden ones.
    QStringList names() const;

  private:
    QTemporaryDir folder_;
};

} // namespace ox::tests
