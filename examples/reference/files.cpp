// Examples in the reference documentation for checksums, buffers and files. They write to `folder`.

#include "examples/reference/check.h"
#include "shared/oxshared.h"

#include <cstring>
#include <string>

namespace
{

void writeText(QString const & name, char const * text)
{
    std::string bytes = text;
    CHECK(oxWriteBufferToFile(name, reinterpret_cast<unsigned char *>(bytes.data()),
                              static_cast<__int64>(bytes.size()))
              .isEmpty());
}

void checksumsExample()
{
    //! [checksums]
    auto const * digits = reinterpret_cast<unsigned char const *>("123456789");
    CHECK(oxCRCCalc(digits, 9) == 0xCBF43926); // the CRC-32 of zlib and gzip

    unsigned int crc = 0xFFFFFFFF; // the same CRC, computed in parts
    oxCRCPartial(&crc, digits, 4);
    oxCRCPartial(&crc, digits + 4, 5);
    CHECK(~crc == 0xCBF43926);
    //! [checksums]
}

void randomExample()
{
    //! [random]
    unsigned int seed = 42; // equal seeds give equal numbers on every machine
    CHECK(oxRand(seed) <= 1);
    CHECK(oxRandString(42, 2) == "5404722116");
    //! [random]
}

void dataBufferExample(QString const & folder)
{
    //! [data_buffer]
    QString const file = folder + QStringLiteral("job17.oxdb");
    _OX_DataBuffer job;
    char data[] = "frame 0001";
    job.append(data, 10);
    job.headerValue0 = 17;
    CHECK(job.saveToFile(file, true));

    _OX_DataBuffer loaded;
    if (!loaded.loadFromFile(file, true))
        std::puts(loaded.errorString().c_str()); // "CRC Error, data corrupt!"
    CHECK(loaded.size == 10 && loaded.headerValue0 == 17);
    CHECK(loaded.indexOf("0001", 0) == 6);
    //! [data_buffer]
}

void fileSearcherExample(QString const & folder)
{
    QString const file = folder + QStringLiteral("farm.ini");
    writeText(file, "server=old\nbackup=OLD\n");
    //! [file_searcher]
    _oxString8_evenSize<250> const oldServer = "old";
    _oxString8_evenSize<250> const newServer = "farm01";
    _oxFileSearcher searcher;
    if (searcher.load(file) && searcher.replaceAll(oldServer, newServer) > 0)
        CHECK(searcher.save(QString()));
    CHECK(searcher.size == 28); // "server=farm01\nbackup=farm01\n"
    //! [file_searcher]
}

void pathsExample()
{
    //! [paths]
    QString const path = QStringLiteral("\\\\farm\\share\\shots\\a_0001.exr");
    CHECK(oxGetFileNameAutoPD(path) == QStringLiteral("a_0001.exr"));
    CHECK(oxGetDirNameAutoPD(path) == QStringLiteral("\\\\farm\\share\\shots\\"));
    CHECK(oxConvertPDToOS(path, _oxOS::Linux) == QStringLiteral("//farm/share/shots/a_0001.exr"));
    CHECK(oxAddStringToFileName(QStringLiteral("a.exr"), QStringLiteral("_x")) ==
          QStringLiteral("a_x.exr"));
    //! [paths]
}

void filesExample(QString const & folder)
{
    //! [files]
    QString const log = folder + QStringLiteral("render.log");
    CHECK(writeToLogFile(log, "frame 0001 done", false, false));

    _oxTime written;
    __int64 size = 0;
    CHECK(oxFileExists(log, &written, &size)); // one status query for both
    CHECK(size >= 16);

    if (QString const failure = oxDeleteFile(log); !failure.isEmpty())
        std::puts(qPrintable(failure)); // "Unable to delete file, " and the system's message
    CHECK(!oxFileExists(log));
    //! [files]
}

void copiesExample(QString const & folder)
{
    QString const source = folder + QStringLiteral("a.log");
    writeText(source, "frame 0001\n");
    //! [copies]
    QString const copy = folder + QStringLiteral("copy.log");
    CHECK(oxCopyFile(source, copy, true, -1).isEmpty()); // -1: the system's own copy

    writeToLogFile(source, "frame 0002", false, false);
    bool limitReported = false;
    CHECK(oxResumeFile(source, copy, limitReported).isEmpty()); // appends the new data
    //! [copies]
}

void syncExample(QString const & folder)
{
    QString const master = folder + QStringLiteral("master.ini");
    writeText(master, "version 2\n");
    //! [file_sync]
    QString const local = folder + QStringLiteral("local.ini");
    _oxString8_evenSize<500> errors, info;
    CHECK(syncCopy(master, local, false, &errors, &info, -1, false)); // copies the file
    CHECK(syncCopy(master, local, false, &errors, &info, -1, false)); // finds it up to date
    CHECK(errors.isEmpty() && oxFileExists(local));
    //! [file_sync]
}

void listingExample(QString const & folder)
{
    //! [dir_listing]
    oxDirListing listing;
    listing.addEndsWithFilter(QStringLiteral(".ini"));
    listing.init(folder, false, true, true, false); // no folders, into memory, sorted
    while (listing.nextFile())
        std::printf("%s %lld\n", qPrintable(listing.fileName()),
                    static_cast<long long>(listing.fileSize()));
    CHECK(listing.error() == 0);
    //! [dir_listing]
}

void emptyFolderExample(QString const & folder)
{
    QString const old = folder + QStringLiteral("old");
    CHECK(oxCreateFolder(old, false));
    writeText(old + QStringLiteral("/a.tmp"), "a");
    //! [empty_folder]
    _oxEmptyFolderOptions options;
    options.recursive = true;
    options.skip << QStringLiteral("keep.txt");
    options.isDryRun = true;
    CHECK(oxEmptyFolder(old, options).count == 1); // number of entries to delete

    options.isDryRun = false;
    _oxEmptyFolderResult const result = oxEmptyFolder(old, options);
    CHECK(result.done && result.failures == 0);
    //! [empty_folder]
}

void rightsExample(QString const & folder)
{
    //! [access_rights]
    QString const shared = folder + QStringLiteral("shared");
    CHECK(oxCreateFolder(shared, false));
    CHECK(oxSetFolderRights_ReadWriteAll(shared, true));
    //! [access_rights]
}

void lockExample(QString const & folder)
{
    //! [lock_files]
    QString const file = folder + QStringLiteral("farm.ini");
    _oxFileLocker locker(file);
    int waitedMs = 0;
    if (locker.lock(5000, QStringLiteral("server on farm01"), &waitedMs, false)) {
        CHECK(_oxFileLocker(file).status().holder == _oxFileLockStatus::Process);
        // Here the process rewrites the file.
        CHECK(locker.unlock());
    }
    //! [lock_files]
}

} // namespace

void fileExamples(QString const & folder)
{
    checksumsExample();
    randomExample();
    pathsExample();
    for (auto const example :
         {dataBufferExample, fileSearcherExample, filesExample, copiesExample, syncExample,
          listingExample, emptyFolderExample, rightsExample, lockExample})
        example(folder);
}
