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

/// A folder of many files, in the folder for temporary files (TMPDIR).
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

/// What was read of the entries; the sums keep the compiler from leaving anything out.
struct Seen {
    int entries = 0;
    qint64 nameUnits = 0;
    qint64 bytes = 0;
    qint64 seconds = 0;
};

Seen namesByUs()
{
    Seen seen;
    oxDirListing listing;
    listing.init(folder(), false, false, false, false);
    for (; listing.nextFile(); ++seen.entries)
        seen.nameUnits += listing.fileName().size();
    return seen;
}

Seen namesByStandardLibrary()
{
    Seen seen;
    for (auto const & entry : std::filesystem::directory_iterator(folder().toStdString())) {
        if (entry.is_directory())
            continue;
        seen.nameUnits += static_cast<qint64>(entry.path().filename().native().size());
        ++seen.entries;
    }
    return seen;
}

Seen allByUs()
{
    Seen seen;
    oxDirListing listing;
    listing.init(folder(), false, false, false, false);
    for (; listing.nextFile(); ++seen.entries) {
        seen.nameUnits += listing.fileName().size();
        seen.bytes += listing.fileSize();
        seen.seconds += listing.fileTime().value;
    }
    return seen;
}

Seen allByQt()
{
    Seen seen;
    QDirIterator it(folder(), QDir::Files);
    for (; it.hasNext(); ++seen.entries) {
        it.next();
        QFileInfo const info = it.fileInfo();
        seen.nameUnits += info.fileName().size();
        seen.bytes += info.size();
        seen.seconds += info.lastModified().toSecsSinceEpoch();
    }
    return seen;
}

void add(char const * name, Seen (*list)())
{
    benchmark::RegisterBenchmark(name,
                                 [list](benchmark::State & state) {
                                     folder();
                                     for (auto _ : state) {
                                         Seen seen = list();
                                         benchmark::DoNotOptimize(seen);
                                         if (seen.entries != fileCount)
                                             std::abort();
                                     }
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

[[maybe_unused]] bool const registered = [] {
    add("names/100k/oxShared", namesByUs);
    add("names/100k/directory_iterator", namesByStandardLibrary);
    add("namesSizesTimes/100k/oxShared", allByUs);
    add("namesSizesTimes/100k/QDirIterator", allByQt);
    return true;
}();

} // namespace
