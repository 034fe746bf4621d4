#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace ox::tests
{

/// A folder that stands for the farm's share; removed at the end of the scope.
class Share
{
  public:
    QString path(QString const & name = {}) const { return folder_.path() + u'/' + name; }

    /// Writes a file and returns its path.
    QString write(QString const & name, QByteArray const & content) const;
    /// A buffer file of the given payload length that is nearly all hole. Returns its path.
    QString writeSparse(QString const & name, qint64 payload) const;

    /// All that is in the folder, hidden files too.
    QStringList names() const;

  private:
    QTemporaryDir folder_;
};

} // namespace ox::tests
