// The functions of the library that read and write files, as operations of the campaigns.

#include "shared/data/data_buffer.h"
#include "shared/fs/copy.h"
#include "shared/fs/dir_listing.h"
#include "shared/fs/empty_folder.h"
#include "shared/fs/file.h"
#include "shared/fs/file_locker.h"
#include "shared/fs/file_sync.h"
#include "shared/system/os_error.h"
#include "tests/faults/operation.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/text.h"

#include <algorithm>

namespace ox::tests
{
namespace
{

using Folder = std::string const &;

QString nameIn(Folder folder, char const * name)
{
    return QString::fromStdString(folder + '/' + name);
}

QString target(Folder folder)
{
    return nameIn(folder, "target");
}

/// Returns the report of a call. After a failure, the report contains `text` and the thread's last
/// error.
Report report(bool hasSucceeded, QString const & text = {})
{
    if (hasSucceeded)
        return {true, text.toStdString()};
    QString const error = oxLastOSError();
    return {false, (text + u" | "_q + error).toStdString()};
}

Report reportText(QString const & failure)
{
    return report(failure.isEmpty(), failure);
}

Report reportCode(int code)
{
    return report(code == 0, u"code %1"_q.arg(code));
}

int sizeOfAll()
{
    return static_cast<int>(newContent().size());
}

char * bytesOfAll()
{
    static std::string bytes = newContent();
    return bytes.data();
}

struct Buffer : _OX_DataBuffer {
    Buffer() = default;
    Buffer(char * bytes, int length) { append(bytes, length); }

    /// Copies the loaded content to memory and returns the error code of the load.
    int loadedTo(char * memory, int length) const
    {
        std::copy_n(data, data ? std::clamp(size, 0, length) : 0, memory);
        return error;
    }
};

using File = QString const &;

/// A file format with functions that save and load it. Both functions return an error code.
struct Form {
    char const * name;
    std::function<int(File, char * bytes, int length)> save;
    std::function<int(File, char * memory, int length)> load;
};

auto saved(void (*save)(Buffer &, File))
{
    return [save](File file, char * bytes, int length) {
        Buffer buffer(bytes, length);
        save(buffer, file);
        return int{buffer.error};
    };
}

auto loaded(void (*load)(Buffer &, File))
{
    return [load](File file, char * memory, int length) {
        Buffer buffer;
        load(buffer, file);
        return buffer.loadedTo(memory, length);
    };
}

std::vector<Form> const & forms()
{
    auto const saveGzip = [](File f, char * b, int n) { return Buffer::saveGzipFile(f, b, n); };
    static std::vector<Form> const all = {
        {"Buffer", saved([](Buffer & b, File f) { b.saveToFile(f, true); }),
         loaded([](Buffer & b, File f) { b.loadFromFile(f, true); })},
        {"CompressedBuffer", saved([](Buffer & b, File f) { b.saveToFileCompressed(f); }),
         loaded([](Buffer & b, File f) { b.loadFromFileCompressed(f, true); })},
        {"Gzip", saveGzip, loaded([](Buffer & b, File f) { b.loadGzipFile(f, 10000); })},
        {"GzipMemory", saveGzip,
         [](File f, char * b, int n) { return Buffer::loadGzipFile(f, b, unsigned(n), true); }},
        {"Blocks",
         [](File f, char * b, int n) { return Buffer::saveToFile(f, true, b, 1, b + 1, n - 1); },
         [](File f, char * b, int n) { return Buffer::loadFromFile(f, true, b, 1, b + 1, n - 1); }},
        {"CompressedBlocks",
         [](File f, char * b, int n) {
             return Buffer::saveToFileCompressed(f, true, b, 1, b + 1, n - 1);
         },
         [](File f, char * b, int n) {
             return Buffer::loadFromFileCompressed(f, true, b, 1, b + 1, n - 1);
         }},
        {"CompressedHeader",
         [](File f, char * b, int n) { return Buffer::saveToFileCompressedHeader(f, b, n); },
         [](File f, char * b, int n) { return Buffer::loadFromFileCompressedHeader(f, b, n); }},
        {"CompressN", [](File f, char * b, int n) { return Buffer::compressNSaveToFile(f, b, n); },
         [](File f, char * b, int n) { return Buffer::compressNLoadFromFile(f, b, n, true); }}};
    return all;
}

/// Saves a buffer file. Saving truncates the file first, so after a failure the file contains the
/// beginning of the new content.
Operation saving(Form const & form)
{
    return {.name = std::string("save") + form.name,
            .before = {{"/target", previousContent()}},
            .run =
                [&form](Folder folder) {
                    return reportCode(form.save(target(folder), bytesOfAll(), sizeOfAll()));
                },
            .mayBe = {{"/target", Part}},
            .mayHideFaults = std::string_view(form.name) == "CompressN"};
}

Operation loading(Form const & form)
{
    Files const files = {{"/target", savedAs(form.name)}};
    // If the status query for the file fails, the library reports a missing file and no system
    // error.
    std::string const missing = "code " + std::to_string(_OX_DataBuffer::Missing);
    return {.name = std::string("load") + form.name,
            .before = files,
            .after = files,
            .run = [&form](Folder folder) -> Report {
                std::string loaded(newContent().size(), '\0');
                int const code = form.load(target(folder), loaded.data(), sizeOfAll());
                return code == 0 && loaded != newContent() ? Report{false, wrongContent}
                                                           : reportCode(code);
            },
            .texts = {missing},
            .byName = 1};
}

Operation writing()
{
    return {
        .name = "write",
        .before = {{"/target", previousContent()}},
        .after = {{"/target", newContent()}},
        .run =
            [](Folder folder) {
                return reportText(oxWriteBufferToFile(
                    target(folder), reinterpret_cast<unsigned char *>(bytesOfAll()), sizeOfAll()));
            },
        .mayBe = {{"/target", Part}}};
}

Files const sourceAndTarget = {{"/source", newContent()}, {"/target", previousContent()}};
Files const sourceTwice = {{"/source", newContent()}, {"/target", newContent()}};

/// Copies the source to the target. If the status query for the source fails, the library reports a
/// missing source.
Operation copying(char const * name, Files const & before, unsigned targetMayBe,
                  std::function<QString(File from, File to)> const & copy)
{
    return {.name = name,
            .before = before,
            .after = sourceTwice,
            .run =
                [copy](Folder folder) {
                    return reportText(copy(nameIn(folder, "source"), target(folder)));
                },
            .mayBe = {{"/target", targetMayBe}},
            .texts = {"Source file does not exist"}};
}

std::vector<Operation> copies()
{
    Files const withPart = {{"/source", newContent()}, {"/target", newContent().substr(0, 10000)}};
    Files const withoutTarget = {{"/source", newContent()}};
    auto const copy = [](File from, File to) { return oxCopyFile(from, to, true, -1); };
    auto const inPieces = [](File from, File to) { return oxCopyFile(from, to, true, 0); };
    auto const resume = [](File from, File to) {
        bool limitReported = false;
        return oxResumeFile(from, to, limitReported);
    };
    auto const resumeWithBuffer = [](File from, File to) {
        bool limitReported = false;
        _OX_DataBuffer added;
        return oxResumeFile(from, to, limitReported, &added);
    };
    std::vector<Operation> all = {
        copying("copy", sourceAndTarget, Missing | UnremovedPart, copy),
        copying("copyInPieces", sourceAndTarget, Missing | Part | OtherSize, inPieces),
        copying("resume", withPart, Part, resume),
        copying("resumeWithBuffer", withPart, Part, resumeWithBuffer),
        copying("resumeFromTheStart", withoutTarget, UnremovedPart, resume),
        copying("resumeFromTheStartWithBuffer", withoutTarget, Part, resumeWithBuffer)};
    all[1].mayHideFaults = true; // a short copy is not reported; applications compare the sizes
    return all;
}

/// Calls syncCopy with the source and `to`. If the status query for the source fails, the library
/// reports a missing source. If the status query for the folder fails, it reports a missing folder.
Operation synchronising(char const * name, Files const & before, Files const & after, int pause,
                        char const * to)
{
    return {.name = name,
            .before = before,
            .after = after,
            .run =
                [to, pause](Folder folder) {
                    _oxString8_evenSize<500> errors;
                    bool const isUpToDate = syncCopy(nameIn(folder, "source"), nameIn(folder, to),
                                                     false, &errors, nullptr, pause, false);
                    return report(isUpToDate, QString(errors));
                },
            .texts = {"does not exist", "Unable to open"}};
}

std::vector<Operation> synchronisations()
{
    Files before = sourceAndTarget;
    before["/target_old"] = "previous backup";
    Files after = sourceTwice;
    after["/target_old"] = previousContent();
    std::vector<Operation> all = {
        synchronising("sync", before, after, -1, "target"),
        synchronising("syncInPieces", before, after, 0, "target"),
        synchronising(
            "syncIntoANewFolder", {{"/source", newContent()}},
            {{"/source", newContent()}, {"/folder", isFolder}, {"/folder/target", newContent()}},
            -1, "folder/target"),
        synchronising("syncUpToDate", {{"/source", newContent()}}, {{"/source", newContent()}}, -1,
                      "source")};
    all[0].byName = 13; // of them 2 for the source, 2 to find temporary files (once a minute)
    all[2].byName = 12; // 1 for the target, which does not exist
    all[3].byName = 2;
    all[0].backup = all[1].backup = "/target_old";
    all[0].isFlushed = all[1].isFlushed = true;
    return all;
}

Operation renaming(char const * name, Files const & before, bool overwrite)
{
    return {.name = name,
            .before = before,
            .after = {{"/target", newContent()}},
            .run =
                [overwrite](Folder folder) {
                    return report(
                        oxRenameFile(nameIn(folder, "source"), target(folder), overwrite));
                },
            .texts = {"File exists"}, // if the status query for the target fails
            .isRepeatable = false};
}

Operation logging(char const * name, std::string const & after, bool overwrite)
{
    return {.name = name,
            .before = {{"/target", "a line\n"}},
            .after = {{"/target", after}},
            .run =
                [overwrite](Folder folder) {
                    return report(writeToLogFile(target(folder), "another line", overwrite, false));
                },
            .mayBe = {{"/target", Part}},
            .isRepeatable = overwrite};
}

Report createFolders(Folder folder)
{
    return report(oxCreateFolder(nameIn(folder, "a/b/c"), true));
}

Report deleteTarget(Folder folder)
{
    return reportText(oxDeleteFile(target(folder)));
}

Files folderOfFiles(int count)
{
    Files files = {{"/folder", isFolder}};
    for (int i = 0; i < count; ++i)
        files["/folder/frame." + std::to_string(i)] = std::to_string(i);
    return files;
}

Report list(Folder folder)
{
    oxDirListing listing;
    listing.init(nameIn(folder, "folder"), true, true, true, false);
    int whole = 0;
    while (listing.nextFile())
        whole += listing.fileSize() > 0 && listing.fileTime().value > 0;
    if (listing.error() != 0)
        return {false, QString(oxLastOSError(listing.error())).toStdString()};
    return whole == 20 ? Report{true} : Report{false, wrongContent};
}

Report empty(Folder folder)
{
    _oxEmptyFolderOptions options;
    options.recursive = true;
    _oxEmptyFolderResult const result = oxEmptyFolder(nameIn(folder, "folder"), options);
    return report(result.done && result.failures == 0, result.lastError);
}

Report poll(Folder folder)
{
    bool isHeld = false;
    bool const isTaken = _oxFileLocker(target(folder)).tryLock(u"campaign"_q, &isHeld);
    return report(!isTaken && isHeld, u"not held"_q);
}

Report lockAndUnlock(Folder folder)
{
    _oxFileLocker locker(target(folder));
    if (!locker.lock(0, u"campaign"_q, nullptr, false))
        return report(false, u"not locked"_q);
    return report(locker.unlock(), u"not unlocked"_q);
}

std::vector<Operation> operationsOnNames()
{
    Files const text = {{"/target", "a line\n"}};
    Files const held = {{"/target_lock.txt", "held"}};
    Files tree = folderOfFiles(3);
    tree["/folder/sub"] = isFolder;
    tree["/folder/sub/file"] = "1";
    return {renaming("rename", {{"/source", newContent()}}, false),
            renaming("renameOver", sourceAndTarget, true),
            {.name = "createFolder",
             .before = {},
             .after = {{"/a", isFolder}, {"/a/b", isFolder}, {"/a/b/c", isFolder}},
             .run = createFolders,
             .texts = {"File exists"}}, // if a status query for a folder fails
            // If the status query for the file fails, the library treats the file as missing.
            // Deleting a missing file is a success.
            {.name = "delete", .before = text, .run = deleteTarget, .mayHideFaults = true},
            {.name = "list",
             .before = folderOfFiles(20),
             .after = folderOfFiles(20),
             .run = list,
             .byName = 21},
            {.name = "empty", .before = tree, .after = {{"/folder", isFolder}}, .run = empty},
            logging("log", "a line\nanother line\n", false),
            logging("logOver", "another line\n", true),
            {.name = "lock", .before = text, .after = text, .run = lockAndUnlock, .byName = 4},
            {.name = "poll", .before = held, .after = held, .run = poll, .byName = 1}};
}

} // namespace

std::string savedAs(std::string_view name)
{
    TemporaryFolder const folder;
    QString const file = folder.filePath(u"file"_q);
    for (Form const & form : forms()) {
        if (form.name == name)
            form.save(file, bytesOfAll(), sizeOfAll());
    }
    return filesIn(folder.path().toStdString())["/file"];
}

std::vector<Operation> libraryOperations()
{
    std::vector<Operation> all = {writing()};
    for (Form const & form : forms()) {
        all.push_back(saving(form));
        all.push_back(loading(form));
    }
    for (auto const & some : {copies(), synchronisations(), operationsOnNames()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

} // namespace ox::tests
