#include "shared/fs/dir_listing.h"

#include <benchmark/benchmark.h>

#include <QDateTime>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>
#include <filesystem>

namespace
{

constexpr int fileCount = 100000;

/// Creates a folder with many files below the folder for temporary files (TMPDIR). Returns the path
/// of the new folder.
QString const & folder()
{
    static QTemporaryDir const made;
    static QString const path = [] {
        for (int i = 0; i < fileCount; ++i) {
            QFile file(made.filePath(QStringLiteral("shot_010.%1.exr").arg(i, 6, 10, QChar(u'0'))));
            if (!file.open(QIODevice::WriteOnly))
                std::abort();
        }
        return made.path();
    }();
    return path;
}

/// Sums over all entries. The benchmark uses the sums, so that the compiler cannot remove the
/// measured code.
struct Totals {
    int entries = 0;
    qint64 nameUnits = 0;
    qint64 bytes = 0;
    qint64 seconds = 0;
};

Totals namesByOxShared()
{
    Totals totals;
    oxDirListing listing;
    listing.init(folder(), false, false, false, false);
    for (; listing.nextFile(); ++totals.entries)
        totals.nameUnits += listing.fileName().size();
    return totals;
}

Totals namesByStandardLibrary()
{
    Totals totals;
    for (auto const & entry : std::filesystem::directory_iterator(folder().toStdString())) {
        if (entry.is_directory())
            continue;
        totals.nameUnits += static_cast<qint64>(entry.path().filename().native().size());
        ++totals.entries;
    }
    return totals;
}

Totals allByOxShared()
{
    Totals totals;
    oxDirListing listing;
    listing.init(folder(), false, false, false, false);
    for (; listing.nextFile(); ++totals.entries) {
        totals.nameUnits += listing.fileName().size();
        totals.bytes += listing.fileSize();
        totals.seconds += listing.fileTime().value;
    }
    return totals;
}

Totals allByQt()
{
    Totals totals;
    QDirIterator it(folder(), QDir::Files);
    for (; it.hasNext(); ++totals.entries) {
        it.next();
        QFileInfo const info = it.fileInfo();
        totals.nameUnits += info.fileName().size();
        totals.bytes += info.size();
        totals.seconds += info.lastModified().toSecsSinceEpoch();
    }
    return totals;
}

void add(char const * name, Totals (*list)())
{
    benchmark::RegisterBenchmark(name,
                                 [list](benchmark::State & state) {
                                     folder();
                                     for (auto _ : state) {
                                         Totals totals = list();
                                         benchmark::DoNotOptimize(totals);
                                         if (totals.entries != fileCount)
                                             std::abort();
                                     }
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

[[maybe_unused]] bool const registered = [] {
    add("names/100k/oxShared", namesByOxShared);
    add("names/100k/directory_iterator", namesByStandardLibrary);
    add("namesSizesTimes/100k/oxShared", allByOxShared);
    add("namesSizesTimes/100k/QDirIterator", allByQt);
    return true;
}();

} // namespace
