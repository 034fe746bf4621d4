// A small application of the farm. It fills a record with texts of fixed capacity and saves the
// record to a buffer file under the file's lock. Then it loads the file again, which checks the
// CRC.

#include "shared/oxshared.h"

#include <QDir>
#include <QTemporaryDir>

#include <cstdio>
#include <cstring>

namespace
{

struct JobRecord {
    _oxString<250> scene;
    _oxString8_evenSize<50> owner;
    _oxTime32 submitted;
};

int fail(char const * what, _oxString8_evenSize<150> const & why)
{
    std::fprintf(stderr, "%s: %s\n", what, why.c_str());
    return 1;
}

} // namespace

int main()
{
    QTemporaryDir share;
    QString const path = QDir(share.path()).filePath(QStringLiteral("job17.oxdb"));
    _oxString8_evenSize<500> file;
    file = path;

    JobRecord job;
    job.scene = QStringLiteral("//farm/scenes/\u043c\u043e\u0441\u0442.scene");
    job.owner = "render";
    job.submitted.setCurrentTime(0);

    _OX_DataBuffer written;
    written.append(reinterpret_cast<char *>(&job), sizeof job);

    _oxFileLocker locker(path);
    int waited = 0;
    if (!locker.lock(5000, QStringLiteral("consumer"), &waited, false)) {
        std::fprintf(stderr, "no lock after %d ms\n", waited);
        return 1;
    }
    if (!written.saveToFile(file, true))
        return fail("save", written.errorString());

    _OX_DataBuffer read;
    if (!read.loadFromFile(file, true))
        return fail("load", read.errorString());
    locker.unlock();

    JobRecord back;
    read.copyToBuffer(reinterpret_cast<char *>(&back), sizeof back);
    bool const same = back.scene == job.scene && back.owner == job.owner;
    std::printf("%s, CRC-32 %08X, owner %s, submitted %s\n", same ? "read back" : "differs",
                read.crc, back.owner.c_str(), back.submitted.asOX8String().c_str());
    return same ? 0 : 1;
}
