// Many threads call the same public operations at the same time. The thread sanitizer detects data
// races. Without the sanitizer the tests check the results only.

#include "shared/oxshared.h"
#include "shared/platform/lock_file.h"
#include "tests/support/dump.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"
#include "tests/support/this_build.h"

#include <QCoreApplication>
#include <QDir>

#include <atomic>
#include <barrier>
#include <cerrno>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace ox::tests;

namespace
{

constexpr int threadCount = 8;

/// Calls work(thread) on 8 threads, numbered from 0, `rounds` times. All threads begin each round
/// at the same time.
template <typename Work>
void together(int rounds, Work const & work)
{
    std::barrier begin(threadCount);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([&begin, &work, rounds, thread] {
            for (int round = 0; round < rounds; ++round) {
                begin.arrive_and_wait();
                work(thread);
            }
        });
    }
    for (std::thread & each : threads)
        each.join();
}

using ThreadSafety = FolderTest;

TEST_F(ThreadSafety, OfTheFirstChecksums)
{
    auto const data = reinterpret_cast<unsigned char const *>("123456789");
    together(20, [&](int thread) {
        if (thread % 2 == 0)
            oxCRCInitialize();
        EXPECT_EQ(oxCRCCalc(data, 9), 0xCBF43926u);
        unsigned int crc = ~0u;
        oxCRCPartial(&crc, data, 9);
        EXPECT_EQ(~crc, 0xCBF43926u);
        EXPECT_EQ(oxCRCCalc16(data, 9), 0x31C3);
        EXPECT_EQ(oxCRCCalc64(data, 9), 0xE9C6D914C4B8D9CAu);
    });
}

TEST_F(ThreadSafety, OfTimesWhoseZoneIsNotYetRead)
{
    qputenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    together(20, [](int) {
        _oxTime time(__int64{1'800'000'000}, true);
        EXPECT_EQ(_oxTime::getTime_Start_OffSet() % 3600, 0);
        EXPECT_EQ(_oxTime::testIfOfsetIsRight(true), 0);
        EXPECT_EQ(time.asStringFileName(), u"0115_090000"_q);
        time.fromDateTime(0, 0, 9, 15, 1, 2027);
        EXPECT_EQ(time.value, 1'800'000'000);
    });
}

TEST_F(ThreadSafety, OfTexts)
{
    _oxString<500> const shared = u"coImageWidth \u0416"_q;
    _oxStringList list;
    for (char const * name : {"c", "a", "b"})
        list.append(name, false, false);
    together(50, [&](int thread) {
        QString const text = shared;
        EXPECT_EQ(oxFromOXUTF8(oxToOXUTF8(text, false)), text);
        EXPECT_EQ(oxFromOXUni16(oxToOXUni16(text, false)), text);
        EXPECT_EQ(oxCalcShortName(text.left(12)), u"coIW"_q);
        EXPECT_EQ(oxGetFileName(_oxString8_evenSize<500>("\\a\\b")), "b");
        _oxStringList sorted = list;
        sorted.sort(thread % 2 == 0);
        EXPECT_EQ(sorted.find("b", true), 1);
        EXPECT_EQ(list.find("b", true), 2);
    });
}

TEST_F(ThreadSafety, OfSystemInformation)
{
    auto const id = static_cast<unsigned>(QCoreApplication::applicationPid());
    together(3, [&](int thread) {
        bool const isEven = thread % 2 == 0;
        EXPECT_FALSE(writeToLogFile(isEven ? path("none/log") : folder.path(), "", true, false));
        EXPECT_EQ(oxLastOSError8(), oxLastOSError8(isEven ? ENOENT : EISDIR));
        QStringList names;
        QStringList values;
        oxGetEnvironmentVariableList(names, values);
        EXPECT_EQ(names.size(), values.size());
        EXPECT_FALSE(oxGetEnvironmentVariable(u"PATH"_q).isEmpty());
        EXPECT_FALSE(oxApplicationPath(nullptr).isEmpty());
        EXPECT_FALSE(getWinFolderProfile().isEmpty());

        auto const list = std::make_unique<_oxProcessList>();
        int const index = list->getListIDByPID(id, true);
        ASSERT_GT(index, 0);
        list->initGetProcessInfo();
        list->getProcessInfo(index);
        EXPECT_GT(list->entries[index].memMB, 0);
        auto const info = std::make_unique<_oxSysInfo>();
        info->update(true);
        info->guiUser();
        EXPECT_FALSE(info->getFullMemoryInfo().isEmpty());
    });
}

TEST_F(ThreadSafety, OfLogLines)
{
    QByteArray const name = path("log").toUtf8();
    together(50, [&](int thread) {
        std::string const line(static_cast<std::size_t>(200 + thread), 'x');
        EXPECT_TRUE(writeToLogFile(name.constData(), line.c_str(), false, thread % 2 == 0));
    });
    int lines = 0;
    for (QByteArray const & line : contentOf(path("log")).split('\n'))
        lines += line.endsWith(QByteArray(200, 'x'));
    EXPECT_EQ(lines, 50 * threadCount);
}

TEST_F(ThreadSafety, OfLocks)
{
    using namespace ox::platform;
    QByteArray const name = path("file").toUtf8();
    NativeName const lockName = name.toStdString() + "_lock.txt";
    std::atomic<int> holders = 0;
    together(1, [&](int) {
        _oxFileLocker const looker(QString::fromUtf8(name));
        for (int taken = 0; taken < 25;) {
            LockFile lock;
            if (!lock.take(lockName)) {
                EXPECT_EQ(looker.status().systemError, 0);
                static_cast<void>(removeLeftLockFile(lockName, 0));
                continue;
            }
            EXPECT_EQ(holders.fetch_add(1), 0);
            lock.write("held by a thread");
            ++taken;
            EXPECT_EQ(holders.fetch_sub(1), 1);
            EXPECT_TRUE(lock.release({}));
        }
        _oxFileLocker locker(QString::fromUtf8(name));
        ASSERT_TRUE(locker.lock(100000, u"thread"_q, nullptr, false));
        EXPECT_EQ(holders.fetch_add(1), 0);
        EXPECT_EQ(holders.fetch_sub(1), 1);
        EXPECT_TRUE(locker.unlock());
    });
}

TEST_F(ThreadSafety, OfSegments)
{
    constexpr int rounds = 10;
    std::string const key = "races" + std::to_string(QCoreApplication::applicationPid());
    std::atomic<int> creators = 0;
    std::atomic<int> done = 0;
    together(rounds, [&](int thread) {
        oxSharedMemory memory(key.c_str());
        creators += memory.create(100, thread % 2 == 0, false);
        EXPECT_TRUE(memory.isAttached() || memory.attach());
        if (memory.lock()) {
            memory.bytes()[0] = std::byte{1};
            EXPECT_TRUE(memory.unlock());
        }
        for (++done; done % threadCount != 0;) // all threads attach before the first one detaches
            std::this_thread::yield();
    });
    EXPECT_EQ(creators, 2 * rounds) << "each round creates a global and a local segment";
}

TEST_F(ThreadSafety, OfCopiesListingsAndEmptiedFolders)
{
    QByteArray const content(300000, 'c');
    writeFile(path("source"), content);
    QDir().mkpath(path("full"));
    together(5, [&](int thread) {
        QString const source = path("source");
        QString const copy = path("copy") + QString::number(thread);
        for (int const pauseMs : {-1, 0})
            EXPECT_EQ(oxCopyFile(source, copy, true, pauseMs), QString());
        bool limitReported = false;
        EXPECT_EQ(oxResumeFile(source, copy, limitReported), QString());
        EXPECT_TRUE(syncCopy(source, path("synced"), false, nullptr, nullptr, -1, false));
        oxCreateFolder(path("full/a/b"), true);
        writeToLogFile(path("full/a/file"), "line", false, false);
        _oxEmptyFolderOptions options;
        options.recursive = true;
        oxEmptyFolder(path("full"), options);
        oxDirListing listing;
        listing.init(folder.path(), true, true, true, false);
        int files = 0;
        while (listing.nextFile())
            files += listing.fileSize() == content.size();
        EXPECT_GE(files, 2);
        EXPECT_TRUE(oxSetFileRights_ReadWriteExecuteAll(copy));
        EXPECT_EQ(oxDeleteFile(copy), QString());
    });
    EXPECT_EQ(contentOf(path("synced")), content);
}

TEST_F(ThreadSafety, OfBuffersAndSearchers)
{
    together(5, [&](int thread) {
        std::string content(100000, static_cast<char>('a' + thread));
        QString const file = path("file") + QString::number(thread);
        _OX_DataBuffer buffer;
        ASSERT_TRUE(buffer.append(content.data(), 100000));
        _OX_DataBuffer compressed;
        EXPECT_TRUE(compressed.compressFrom(buffer, 0));
        EXPECT_TRUE(buffer.saveToFileCompressed(file));
        EXPECT_TRUE(buffer.saveToFile(file, true));
        _OX_DataBuffer loaded;
        EXPECT_TRUE(loaded.loadFromFile(file, true));
        EXPECT_EQ(loaded.crc, buffer.crc);
        _oxFileSearcher searcher;
        EXPECT_TRUE(searcher.load(file));
        _oxString8_evenSize<500> const search(content.substr(0, 3));
        EXPECT_EQ(searcher.replaceAll(search, _oxString8_evenSize<500>("-")), 33333);
    });
}

#ifndef OX_NO_CRASH_HANDLER
class CountingLogger : public oxLogger
{
  public:
    void log(int, _oxString8_evenSize<500> const &, bool) override { ++lines; }

    std::atomic<int> lines = 0;
};

TEST_F(ThreadSafety, OfCrashHandlersAndDumpsOnDemand)
{
    if (hasAddressSanitizer)
        GTEST_SKIP() << "the sanitizers handle the signals of crashes";
    static CountingLogger logger;
    static __OX contexts[threadCount];
    QByteArray const dumpFolder = folder.path().toUtf8();
    for (__OX & context : contexts) {
        context.logger = &logger;
        context.logFile = "races.txt";
        context.logFolder = dumpFolder.constData();
    }
    together(1, [&](int thread) {
        oxCrashHandler & handler = *oxCrashHandler::instance();
        handler.init(contexts[thread], 0, nullptr);
        oxCrashHandler::prepareThread();
        handler.setReportCrashesToSystem(thread % 2 == 0);
        if (thread % 2 == 0)
            handler.setDumpPath(QString::fromUtf8(dumpFolder));
        else
            handler.setDumpPathDefault();
        EXPECT_TRUE(handler.writeMinidump());
    });
    QStringList const dumps = QDir(folder.path()).entryList({text("*.oxdmp")});
    EXPECT_EQ(dumps.size(), threadCount);
    for (QString const & dump : dumps)
        EXPECT_TRUE(readDump(folder.filePath(dump)).isDump);
    EXPECT_EQ(logger.lines, 2 * threadCount);
}
#endif

} // namespace
