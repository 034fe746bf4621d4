// Another user continuously replaces files, folders and links in its own folder, while root runs
// operations in the same folder. No file outside of the folder may change.

#include "shared/data/data_buffer.h"
#include "shared/fs/access_rights.h"
#include "shared/fs/copy.h"
#include "shared/fs/empty_folder.h"
#include "shared/fs/file.h"
#include "shared/fs/file_sync.h"
#include "shared/platform/lock_file.h"
#include "shared/platform/new_file.h"
#include "tests/hostile/neighbour_linux.h"
#include "tests/support/file_content.h"
#include "tests/support/program_run.h"
#include "tests/support/text.h"

#include <QDir>

#include <limits>

using namespace ox::tests;

namespace
{

class HostileRace : public NeighbourTest
{
  protected:
    void SetUp() override
    {
        if (!isRoot())
            GTEST_SKIP() << needsRoot;
        NeighbourTest::SetUp();
        writeFile(source, "the content of root\n");
    }

    /// Returns an act that runs a command line of the tool. %1 is the test's folder, %2 the target.
    Act tool(char const * line) const
    {
        QStringList arguments = text(line).split(u' ');
        for (QString & word : arguments)
            word.replace(u"%1"_q, folder.path()).replace(u"%2"_q, target);
        return {line, [arguments] {
                    ProgramRun const run = runProgram(QStringLiteral(OX_TOOL), arguments);
                    EXPECT_TRUE(run.hasEnded && !run.hasCrashed) << run.errors.toStdString();
                }};
    }

    std::vector<Kind> const everything = {Kind::File,       Kind::FileLink, Kind::NewFileLink,
                                          Kind::FolderLink, Kind::Folder,   Kind::Pipe};
    std::vector<Kind> const allButFolders = {Kind::File, Kind::FileLink, Kind::NewFileLink,
                                             Kind::Pipe};
    QString const source = path("source");
    QString const target = inside("target");
};

TEST_F(HostileRace, WritingReachesNoOtherFile)
{
    unsigned char bytes[] = "bytes";
    char block[] = "block";
    _OX_DataBuffer buffer;
    ASSERT_TRUE(buffer.append(block, 5));
    buffer.size = 5;
    bool limitReported = false;
    race({"target", "target_old"}, everything,
         {{"writeToLogFile", [&] { writeToLogFile(target, "line", false, true); }},
          {"writeToLogFile, new", [&] { writeToLogFile(target, "line", true, true); }},
          {"oxWriteBufferToFile", [&] { oxWriteBufferToFile(target, bytes, 5); }},
          {"saveToFile", [&] { buffer.saveToFile(target, true); }},
          {"saveToFileCompressed", [&] { buffer.saveToFileCompressed(target); }},
          {"oxCopyFile", [&] { oxCopyFile(source, target, true, -1); }},
          {"oxCopyFile by pieces", [&] { oxCopyFile(source, target, true, 0); }},
          {"oxResumeFile", [&] { oxResumeFile(source, target, limitReported); }},
          {"syncCopy", [&] { syncCopy(source, target, false, nullptr, nullptr, -1, false); }},
          {"oxRenameFile", [&] { oxRenameFile(target, inside("target_old"), true); }}});
}

TEST_F(HostileRace, RightsAndTimesReachNoOtherFile)
{
    _oxTime time(__int64{1'000'000}, true);
    QByteArray const name = target.toUtf8();
    race({"target"}, everything,
         {{"file rights", [&] { oxSetFileRights_ReadWriteExecuteAll(target); }},
          {"folder rights", [&] { oxSetFolderRights_ReadWriteAll(name.constData(), true); }},
          {"setExecutable_Rights", [&] { setExecutable_Rights(target, false); }},
          {"oxSetFileTime", [&] { oxSetFileTime(target, &time); }},
          {"oxSetFileTime, now", [&] { oxSetFileTime(target, nullptr); }},
          {"oxCreateFolder", [&] { oxCreateFolder(target, false); }},
          {"oxDeleteFile", [&] { oxDeleteFile(target); }},
          {"oxDeleteFolder", [&] { oxDeleteFolder(target); }}});
}

TEST_F(HostileRace, EmptyingDeletesNothingElse)
{
    _oxEmptyFolderOptions options;
    options.recursive = true;
    auto const empty = [&](char const * name) {
        return [this, &options, name] { oxEmptyFolder(inside(name), options); };
    };
    race({"target", "other", "target/inner", "other/inner"}, everything,
         {{"folder", empty("")}, {"subfolder", empty("target")}});
}

TEST_F(HostileRace, LocksRemoveNoOtherFile)
{
    using namespace ox::platform;
    NativeName const name = inside("target_lock.txt").toStdString();
    race({"target_lock.txt", "target_lock.txt.none"}, everything,
         {{"take and release",
           [&] {
               LockFile lock;
               if (!lock.take(name))
                   return;
               lock.write("content");
               static_cast<void>(lock.release(name + ".none"));
           }},
          {"remove",
           [&] {
               static_cast<void>(
                   removeLeftLockFile(name, std::numeric_limits<std::int64_t>::max()));
           }},
          {"view", [&] { static_cast<void>(viewLockFile(name)); }}});
}

TEST_F(HostileRace, TheToolChangesNoOtherFile)
{
    ASSERT_TRUE(
        runProgram(QStringLiteral(OX_TOOL), {u"pack"_q, source, path("packed")}).hasSucceeded());
    ASSERT_TRUE(QDir().mkpath(path("sources")));
    writeFile(path("sources/target"));
    writeFile(path("sources/empty"), {});
    race({"target", "target_old", "empty"}, everything,
         {tool("pack %1/source %2"), tool("unpack %1/packed --out %2"),
          tool("refresh %1/packed --out %2"), tool("replace %2 content other"),
          tool("sync %1/sources %1/theirs/"), tool("empty --recursive %1/theirs/")});
}

TEST_F(HostileRace, TheToolsLocksChangeNoOtherFile)
{
    race({"target", "target_lock.txt"}, everything,
         {tool("lock %2 --timeout 0 -- true"), tool("refresh %2 --timeout 0 --out %2")});
}

// The commands cp and resume copy into the target if it is a folder. So the other user creates no
// folders and no links to folders.
TEST_F(HostileRace, TheToolsCopiesReachNoOtherFile)
{
    race({"target"}, allButFolders,
         {tool("cp %1/source %2"), tool("cp %1/source %2 --pause 0"), tool("resume %1/source %2")});
}

} // namespace
