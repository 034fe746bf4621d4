// Runs each public operation many times. In each run another allocation fails, either alone or
// together with all later allocations. The operation must then return a documented result or throw
// std::bad_alloc. It must leak nothing, and must succeed when memory is available again.

#include "shared/oxshared.h"
#include "tests/memory/failing_allocations_linux.h"
#include "tests/support/file_content.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace ox::tests;

namespace
{

/// Runs an operation under the limit. Returns a text with the result of the operation and the
/// resulting state of objects and files.
using Run = std::function<std::string(MemoryLimit &)>;

struct Operation {
    char const * name;
    Run run;
    /// Results that are allowed after a failed allocation. The result of a run without a memory
    /// limit is also allowed. A result begins with "threw" if the operation threw std::bad_alloc.
    /// The result "threw" without an addition is always allowed.
    std::vector<std::string> failures = {};
};

/// Returns a Run whose result is the text that `make` returns, or an empty text after an exception.
Run textOf(std::function<QString()> make)
{
    return [make = std::move(make)](MemoryLimit & limit) {
        QString made;
        limit.during([&] { made = make(); });
        return limit.hasThrown() ? std::string() : made.toStdString();
    };
}

/// Returns a Run whose result is "done" or "failed", or an empty text after an exception.
Run success(std::function<bool()> work)
{
    return textOf([work = std::move(work)] { return work() ? u"done"_q : u"failed"_q; });
}

class AllocationFailure : public FolderTest
{
  protected:
    void expectSurvival(std::vector<Operation> const & operations)
    {
        long failures = 0;
        for (Operation const & operation : operations) {
            // The first run makes the library and Qt allocate the blocks that they never free.
            resultOf(operation, Failing::One, unlimited);
            std::string const expected = resultOf(operation, Failing::One, unlimited).text;
            for (Failing const failing : {Failing::One, Failing::AllFrom}) {
                for (long number = 1; survives(operation, expected, failing, number); ++number)
                    ++failures;
            }
        }
        std::printf("%zu operations, %ld failed allocations\n", operations.size(), failures);
    }

  private:
    struct Result {
        std::string text;
        bool wasReached;
        long leaked;
        int openFiles;
    };

    static constexpr long unlimited = 0;

    /// Checks a run in which the allocation with this number fails. Returns false if the run made
    /// fewer allocations or had a wrong result.
    bool survives(Operation const & operation, std::string const & expected, Failing failing,
                  long number)
    {
        SCOPED_TRACE(std::string(operation.name) + (failing == Failing::One ? ", " : ", from ") +
                     std::to_string(number));
        Result result = resultOf(operation, failing, number);
        // A block that remains after the first run but not after an equal second run is not a leak.
        if (result.leaked != 0 || result.openFiles != 0)
            result = resultOf(operation, failing, number);
        EXPECT_EQ(result.leaked, 0);
        EXPECT_EQ(result.openFiles, 0);
        EXPECT_EQ(
            QDir(folder.path()).entryList({text(".oxshared-*"), text("*_lock.*")}, allFiles).size(),
            0);
        bool const isRight =
            result.text == expected ||
            (result.wasReached &&
             (result.text == "threw" || std::ranges::count(operation.failures, result.text) > 0));
        EXPECT_TRUE(isRight) << '"' << result.text << '"';
        return result.wasReached && isRight;
    }

    static Result resultOf(Operation const & operation, Failing failing, long number)
    {
        Result result{};
        result.text.reserve(20000);
        int const openBefore = openFiles();
        long const liveBefore = MemoryLimit::liveBlocks();
        {
            MemoryLimit limit(failing, number);
            std::string const described = operation.run(limit);
            result.text.append(limit.hasThrown() ? "threw" : "").append(described);
            result.wasReached = limit.wasReached();
        }
        result.leaked = MemoryLimit::liveBlocks() - liveBefore;
        result.openFiles = openFiles() - openBefore;
        return result;
    }

    static int openFiles() { return static_cast<int>(QDir(text("/proc/self/fd")).count()); }

    static constexpr auto allFiles = QDir::Files | QDir::Hidden;
};

TEST_F(AllocationFailure, InTexts)
{
    QString const wide = u"wide \u0416\u20AC name"_q;
    QString const file = u"C:\\a\\b\\..\\shot_\u0416.exr"_q;
    _oxString8_evenSize<500> const file8(file);
    _oxTime const time(__int64{1'800'000'000}, true);
    unsigned char const bytes[] = {1, 2, 3, 0xAB};
    expectSurvival({
        {"encodings", textOf([&] {
             return oxToOXUTF8(wide, true) + oxFromOXUTF8(u"<UTF8\u00D0\u0096>"_q) +
                    oxToOXUni16(wide, true) + oxFromOXUni16(u"<UNI16 \u0004\u0016>"_q) +
                    toXmlString(u"<a & \u00E4>"_q) + fromXmlString(u"&lt;a&gt; &#228;"_q) +
                    oxCalcShortName(u"coImageWidth"_q) +
                    QString::number(IPString2IP(u"192.168.001.010"_q, false));
         })},
        {"fixed strings", textOf([&] {
             _oxString<500> const fixed = wide;
             return QString(fixed) + (fixed + wide) + QString(_oxString8_evenSize<50>(wide)) +
                    QString::number(fixed.contains(u"name"_q));
         })},
        {"formats", textOf([&] {
             return bool2str(true, true) + QString(float2Str(1.5f, 2, '.')) +
                    numberToStr(1234567, 5) + byte2Hex(bytes, 4) + oxPointTsd(-1234567, true) +
                    oxSec2hms(3725, false) + oxSec2dhms(200000) + oxMill2s(1500, true) +
                    bool2String(_oxStringCompareShort(u"coImageWidth"_q, u"coIW"_q)) +
                    _oxCPUValue(0.25f, 8).strCorePerc() + listStringMemorySize();
         })},
        {"splitAtLastOccurence", textOf([] {
             QString first = u"shot_v2_final"_q;
             QString rest = u"none"_q;
             splitAtLastOccurence(first, rest, u"_V"_q, u"_f"_q, {});
             return first + u'|' + rest;
         })},
        {"times", textOf([&] {
             return time.asString() + time.asStringWeekDateMonth() + oxPrintedText(time) +
                    QString(time.asOX8StringDateMonthYear()) + oxTimer().elapsedString().right(1);
         })},
        {"paths", textOf([&] {
             return oxConvertPDToOS(file, _oxOS::Linux) + oxGetFileNameExtention(file) +
                    oxGetFileNameAutoPD(file) + QString(oxGetFileName(file8)) +
                    oxGetFileNameBase(file, '\\') + oxGetDirNameAutoPD(file) +
                    oxAddStringToFileName(file, u"_x"_q) + oxPathResolve(file) +
                    bool2String(isRelativePath(file)) + bool2String(oxIsRootpath(file)) +
                    oxRemoveIllegalCharFromFile(u"a<FN4>?b c"_q, false, true) +
                    oxRemoveIllegalCharFromDir(file, true, false, true) +
                    oxRemoveIllegalCharFromHtmlDir(file);
         })},
        {"system", textOf([] {
             return QString(oxLastOSError(2)) + OS2String_short(_oxOS::Linux, true) +
                    oxGetEnvironmentVariable(u"PATH"_q) + QString(oxApplicationPath(nullptr)) +
                    getWinFolderAppData() + QString(GetProcessUserSID()) +
                    QString(_OX_DataBuffer::errorString(-102));
         })},
        // Without memory, the C library reports that the user database is not readable.
        {"home",
         textOf([] { return getCurrentUserHomePath(); }),
         {"ERROR: Unable to open registry;"}},
    });
}

TEST_F(AllocationFailure, InStringLists)
{
    _oxStringList three;
    for (char const * name : {"c", "a", "b"})
        three.append(name, false, false);
    auto const list = [&](std::function<void(_oxStringList &)> const & work) {
        return [&three, work](MemoryLimit & limit) {
            _oxStringList changed = three;
            limit.during([&] { work(changed); });
            std::string const left = oxPrintedText(changed).toStdString();
            changed.append("works", false, false);
            return changed.isEmpty() ? "unusable" : left;
        };
    };
    expectSurvival({
        {"append", list([](auto & l) { l.append("d", false, false); }), {"()"}},
        {"copy", list([&](auto & l) { l = _oxStringList(three); }), {"()"}},
        {"sort",
         [&](MemoryLimit & limit) { // texts that only differ in case keep their order
             _oxStringList names;
             for (int i = 0; i < 60; ++i)
                 names.append(text(i % 2 ? "name%1" : "NAME%1").arg(i * 7 % 20), false, false);
             limit.during([&] { names.sort(true); });
             return oxPrintedText(names).toStdString();
         }},
        {"oxPrintedText", textOf([&] { return oxPrintedText(three); })},
    });
}

TEST_F(AllocationFailure, InDataBuffers)
{
    QByteArray content(5000, 'x');
    auto const zlibContent = reinterpret_cast<unsigned char *>(content.data());
    _OX_DataBuffer full;
    ASSERT_TRUE(full.append(content.data(), 5000));
    _OX_DataBuffer compressed;
    ASSERT_TRUE(compressed.compressFrom(full, 0));
    ASSERT_TRUE(full.saveToFile(path("db"), true) && full.saveToFileCompressed(path("zp")));
    ASSERT_EQ(_OX_DataBuffer::saveGzipFile(path("gz"), full.data, full.size), 0);
    ASSERT_EQ(_OX_DataBuffer::compressNSaveToFile(path("ns"), full.data, full.size), 0);
    QString const saved = path("saved");
    std::vector<char> block(6000);

    // The result consists of the buffer's error code and whether the buffer has a block.
    auto const buffer = [&](std::function<void(_OX_DataBuffer &)> const & work) {
        return [&full, work](MemoryLimit & limit) {
            _OX_DataBuffer changed;
            changed.append(full.data, 100);
            limit.during([&] { work(changed); });
            bool const isTrue = (changed.data != nullptr) == (changed.sizeAllocated > 0);
            std::string const state = std::to_string(changed.error) + (isTrue ? "" : " broken") +
                                      (changed.data ? " block" : " none");
            return limit.hasThrown() && state == "0 block" ? "" : state;
        };
    };
    auto const code = [&](std::function<int()> const & work) {
        return textOf([work] { return QString::number(work()); });
    };
    using Data = _OX_DataBuffer;
    std::vector<std::string> const noBlock = {"-100 none"};
    std::vector<std::string> const inZlib = {"-100 none", "-4 block"};
    std::vector<std::string> const inFile = {"-100 none", "-101 block", "-104 block", "-105 block",
                                             "-4 block"};
    expectSurvival({
        {"newsize", buffer([](auto & b) { b.newsize(9000, 1); }), noBlock},
        {"resize", buffer([](auto & b) { b.resize(9000, 1); }), noBlock},
        {"append", buffer([&](auto & b) { b.append(full.data, 5000); }), noBlock},
        {"compressFrom", buffer([&](auto & b) { b.compressFrom(full, 8); }), inZlib},
        {"decompressTo",
         buffer([&](auto & b) {
             Data target;
             b.error = compressed.decompressTo(target, nullptr) ? 0 : compressed.error;
         }),
         {"-100 block", "-4 block"}},
        {"chunkzip", buffer([&](auto & b) {
             z_stream zs{};
             if (b.chunkzipStart(zs, 100)) {
                 b.chunkzipAdd(zs, zlibContent, 5000, true);
                 b.chunkzipFinish(zs);
             }
         }),
         inZlib},
        {"chunkUnzip", buffer([&](auto & b) {
             z_stream zs{};
             std::array<unsigned char, 100> out;
             compressed.error = 0;
             if (compressed.chunkUnzipStart(zs)) {
                 compressed.chunkUnzipGet(zs, out.data(), 100);
                 compressed.chunkUnzipFinish(zs);
             }
             b.error = compressed.error;
         }),
         inZlib},
        {"saveToFile", buffer([&](auto & b) { b.saveToFile(saved, true); }), inFile},
        {"saveToFileCompressed", buffer([&](auto & b) { b.saveToFileCompressed(saved); }), inFile},
        {"loadFromFile", buffer([&](auto & b) { b.loadFromFile(path("db"), true); }), inFile},
        {"loadFromFileCompressed",
         buffer([&](auto & b) { b.loadFromFileCompressed(path("zp"), true); }), inFile},
        {"loadGzipFile", buffer([&](auto & b) { b.loadGzipFile(path("gz"), 1000); }), inFile},
        {"saveGzipFile",
         code([&] { return Data::saveGzipFile(saved, block.data(), 5000); }),
         {"-104", "-4"}},
        {"compressNSaveToFile",
         code([&] { return Data::compressNSaveToFile(saved, block.data(), 9); }),
         {"-100", "-4"}},
        {"compressNLoadFromFile",
         code([&] { return Data::compressNLoadFromFile(path("ns"), block.data(), 5000, true); }),
         {"-100", "-4"}},
        {"loadFromFileCompressedHeader",
         code([&] { return Data::loadFromFileCompressedHeader(path("zp"), block.data(), 5000); }),
         {"-100", "-4", "-104"}},
        {"_oxFileSearcher",
         [&](MemoryLimit & limit) {
             QString const file = writeFile(path("text"), "one two three\n");
             _oxFileSearcher searcher;
             _oxString8_evenSize<500> const longer("a much longer text than before");
             limit.during(
                 [&] { searcher.replaceAll(file, _oxString8_evenSize<500>("two"), longer); });
             return contentOf(file).toStdString();
         },
         {"one two three\n", "threwone two three\n"}},
    });
}

TEST_F(AllocationFailure, InFiles)
{
    QString const source = writeFile(path("source"), "newer content");
    QString const to = path("target");
    QString const old = path("target_old");
    unsigned char bytes[] = "bytes";
    bool limitReported = false;
    // Runs work on a target with the content "old". The result consists of the error text, the
    // content of the target, and the content of target_old.
    auto const target = [&](std::function<QString()> const & work) {
        return [&, work](MemoryLimit & limit) {
            QFile::remove(old);
            writeFile(to, "old");
            QString failure;
            limit.during([&] { failure = work(); });
            return failure.toStdString() + '|' + contentOf(to).toStdString() + '|' +
                   contentOf(old).toStdString();
        };
    };
    auto const failed = [](bool succeeded) { return succeeded ? QString() : u"failed"_q; };
    auto const rename = [&] { return failed(oxRenameFile(to, old, true)); };
    auto const log = [&] { return failed(writeToLogFile(to, "line", false, false)); };
    auto const sync = [&] {
        return failed(syncCopy(source, to, false, nullptr, nullptr, -1, false));
    };
    expectSurvival({
        {"queries", success([&] {
             return oxFileExists(source) && oxDirectoryExists(folder.path()) &&
                    oxGetFreeDriveSpaceMB(source) > 0;
         })},
        {"oxCreateFolder", success([&] {
             return oxCreateFolder(path("made/a/b"), true) && oxDeleteFolder(path("made/a/b"));
         })},
        {"oxDeleteFile", target([&] { return oxDeleteFile(to); }), {"threw|old|", "threw||"}},
        {"oxRenameFile", target(rename), {"threw|old|", "threw||old"}},
        {"oxSetFileTime",
         target([&] { return failed(oxSetFileTime(to, nullptr)); }),
         {"threw|old|"}},
        {"setExecutable_Rights",
         target([&] { return setExecutable_Rights(to, false); }),
         {"threw|old|"}},
        {"oxSetFolderRights_ReadWriteAll",
         success([&] { return oxSetFolderRights_ReadWriteAll(folder.path(), true); })},
        {"oxWriteBufferToFile",
         target([&] { return oxWriteBufferToFile(to, bytes, 5); }),
         {"threw|old|", "threw|bytes|"}},
        {"writeToLogFile", target(log), {"threw|old|", "threw|oldline\n|"}},
        {"oxCopyFile",
         target([&] { return oxCopyFile(source, to, true, -1); }),
         {"threw|old|", "threw||", "Error 12: Cannot allocate memory.||"}},
        {"oxCopyFile by pieces",
         target([&] { return oxCopyFile(source, to, true, 0); }),
         {"threw|old|", "threw||", "No memory left.||"}},
        {"oxResumeFile",
         target([&] { return oxResumeFile(source, to, limitReported); }),
         {"threw|old|", "No memory left.|old|"}},
        {"syncCopy", target(sync), {"threw|old|", "threw|old|old", "failed|old|"}},
        {"_oxFileLocker", success([&] {
             _oxFileLocker locker(source);
             return locker.lock(0, u"who"_q, nullptr, false) && locker.status().exists &&
                    locker.unlock();
         })},
        {"oxDirListing",
         textOf([&] {
             oxDirListing listing;
             listing.addEndsWithFilter(u"rce"_q);
             listing.init(folder.path(), false, true, true, false);
             return listing.nextFile() ? listing.dirFileName() : text("%1").arg(listing.error());
         }),
         {"12"}},
        {"oxEmptyFolder",
         [&](MemoryLimit & limit) {
             QDir().mkpath(path("full/sub/inner"));
             writeFile(path("full/sub/file"));
             _oxEmptyFolderOptions options;
             options.recursive = true;
             _oxEmptyFolderResult emptied;
             limit.during([&] { emptied = oxEmptyFolder(path("full"), options); });
             return limit.hasThrown()
                        ? ""
                        : std::to_string(emptied.count) + emptied.lastError.right(23).toStdString();
         },
         {"0Cannot allocate memory.", "1Cannot allocate memory."}},
    });
}

TEST_F(AllocationFailure, InSystemInformation)
{
    auto const id = static_cast<unsigned>(QCoreApplication::applicationPid());
    std::string const key = "memory" + std::to_string(id);
    auto const own = std::make_unique<_oxProcessList>();
    int const index = own->getListIDByPID(id, true);
    ASSERT_GT(index, 0);
    _oxString8_UnevenSize<25> const name = own->entries[index].name;
    auto const info = std::make_unique<_oxSysInfo>();
    expectSurvival({
        {"_oxProcessList", success([&] {
             auto const list = std::make_unique<_oxProcessList>();
             list->collectProcesses(name);
             list->initGetProcessInfo();
             list->getProcessInfo(1);
             own->fix32bit_4GBmemory();
             return list->processExists(name, false) && !listProcess(name, 0, 1, true).isEmpty();
         })},
        {"_oxSysInfo", success([&] {
             auto const fresh = std::make_unique<_oxSysInfo>();
             fresh->update(true);
             info->guiUser();
             return !fresh->getFullMemoryInfo().isEmpty() &&
                    !fresh->getCpuUsageDebug(false).isEmpty() &&
                    _oxSysInfo::getLastUserInput().value >= 0;
         })},
        {"oxGetEnvironmentVariableList", success([] {
             QStringList names;
             QStringList values;
             oxGetEnvironmentVariableList(names, values);
             return names.size() == values.size();
         })},
        {"oxSharedMemory",
         [&](MemoryLimit & limit) {
             oxSharedMemory memory(key.c_str());
             bool isShared = true;
             limit.during([&] {
                 oxSharedMemory other(key.c_str());
                 isShared = memory.create(100, true, false) && other.attach() && other.lock();
             });
             EXPECT_TRUE(memory.isAttached() || memory.create(100, true, false));
             EXPECT_TRUE(isShared);
             return std::string();
         }},
    });
}

} // namespace
