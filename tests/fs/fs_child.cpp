// The second process in tests of locks and shared files. Exit codes of all commands: 0 success, 2
// wrong arguments. The comment of a command lists its other exit codes.

#include "shared/fs/file.h"
#include "shared/fs/file_locker.h"
#include "shared/platform/lock_file.h"
#include "shared/system/environment.h"
#include "tests/support/child_side.h"

#include <QFile>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

using ox::platform::LockFile;

namespace
{

QString const who = QStringLiteral("child\n\u00e9");

/// Holds the lock until standard input ends. Exit code 3: not locked.
int hold(QString const & file, int)
{
    _oxFileLocker locker(file);
    if (!locker.lock(0, who, nullptr, false))
        return 3;
    ox::tests::printAndWait("held");
    return 0;
}

/// Adds 1 to the number in a file `count` times, each time under the lock. Exit codes: 3 if the
/// lock was not taken, 4 if the file was not opened.
int increment(QString const & fileName, int count)
{
    _oxFileLocker locker(fileName);
    for (int i = 0; i < count; ++i) {
        if (!locker.lock(100000, who, nullptr, false))
            return 3;
        QFile file(fileName);
        if (!file.open(QIODevice::ReadWrite))
            return 4;
        int const number = file.readAll().toInt();
        file.seek(0);
        file.write(QByteArray::number(number + 1));
        file.close();
        locker.unlock();
    }
    return 0;
}

/// Creates a marker file beside the protected file and removes the marker after `ms` milliseconds.
/// Returns false if another process has created the marker.
bool isAlone(QString const & fileName, int ms)
{
    QFile marker(fileName + QStringLiteral(".marker"));
    if (!marker.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return false;
    oxSleep(ms);
    return marker.remove();
}

/// Attempts to take the lock until it succeeds. Exit code 3: another process held the lock at the
/// same time.
int exclusive(QString const & fileName, int)
{
    _oxFileLocker locker(fileName);
    while (!locker.lock(250, who, nullptr, false)) {
    }
    return isAlone(fileName, 20) ? 0 : 3;
}

ox::platform::NativeName lockNameOf(QString const & fileName)
{
    return ox::platform::nativeName(
        std::u16string_view(QString(fileName + QStringLiteral("_lock.txt")).toStdU16String()));
}

/// Takes the lock `count` times. Leaves each third lock unreleased, as if its holder was killed.
/// Treats every lock file as stale, so it often attempts to remove a held lock.
/// Exit codes: 3 another process held the lock at the same time, 4 the lock was not released.
int contend(QString const & fileName, int count)
{
    auto const name = lockNameOf(fileName);
    for (int taken = 0; taken < count;) {
        LockFile lock;
        if (!lock.take(name)) {
            static_cast<void>(
                ox::platform::removeLeftLockFile(name, std::numeric_limits<std::int64_t>::max()));
            continue;
        }
        if (!isAlone(fileName, 0))
            return 3;
        if (++taken % 3 != 0 && !lock.release({}))
            return 4;
    }
    return 0;
}

/// Takes and releases the lock `count` times. Exit codes: 3 another process held the lock at the
/// same time, 4 the lock was not released.
int takeTurns(QString const & fileName, int count)
{
    auto const name = lockNameOf(fileName);
    for (int taken = 0; taken < count;) {
        LockFile lock;
        if (!lock.take(name))
            continue;
        lock.write("held by one of those who take turns");
        if (!isAlone(fileName, 0))
            return 3;
        if (!lock.release({}))
            return 4;
        ++taken;
    }
    return 0;
}

/// Attempts to take the lock up to `count` times, then releases the lock. Exit codes: 3 the lock
/// was not taken, 4 the lock was not released.
int tryTimes(QString const & fileName, int count)
{
    LockFile lock;
    auto const name = lockNameOf(fileName);
    for (int tried = 0; tried < count; ++tried) {
        if (lock.take(name))
            return ox::platform::lockFileExists(name) && lock.release({}) ? 0 : 4;
    }
    return 3;
}

/// Appends `count` lines of different lengths to a log. Exit code 3: a line was not written.
int log(QString const & fileName, int count)
{
    for (int i = 0; i < count; ++i) {
        QString const line = u'<' + QString(i * 37 % 2900, u'x') + u'>';
        if (!writeToLogFile(fileName, line, false, false))
            return 3;
    }
    return 0;
}

/// Writes zeros to a file and prints the result of oxWriteBufferToFile.
int write(QString const & fileName, int size)
{
    QByteArray zeros(size, '\0');
    QString const error =
        oxWriteBufferToFile(fileName, reinterpret_cast<unsigned char *>(zeros.data()), size);
    std::puts(error.toLatin1().constData());
    return 0;
}

} // namespace

int main(int argc, char ** argv)
{
    struct {
        char const * name;
        int (*run)(QString const & file, int number);
    } const commands[] = {{"hold", hold},       {"increment", increment}, {"exclusive", exclusive},
                          {"contend", contend}, {"turns", takeTurns},     {"try", tryTimes},
                          {"log", log},         {"write", write}};
    for (auto const & command : commands) {
        if (argc > 2 && std::strcmp(argv[1], command.name) == 0)
            return command.run(QString::fromUtf8(argv[2]), argc > 3 ? std::atoi(argv[3]) : 0);
    }
    return 2;
}
