// The operations of the library that read and write files, for the campaigns.

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

#include <algorithm>

namespace ox::tests
{
namespace
{

using Run = std::function<Report(std::string const &)>;

QString nameIn(std::string const & folder, char const * name)
{
    return QString::fromStdString(folder + '/' + name);
}

/// The report of a call, with the thread's last error behind its text.
Report report(bool hasSucceeded, QString const & text = {})
{
    if (hasSucceeded)
        return {true, text.toStdString()};
    QString const error = oxLastOSError();
    return {false, (text + QStringLiteral(" | ") + error).toStdString()};
}

Report reportText(QString const & failure)
{
    return report(failure.isEmpty(), failure);
}

Report reportCode(int code)
{
    return report(code == 0, QStringLiteral("code %1").arg(code));
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

    /// The code of a load, whose content goes to memory.
    int loadedTo(char * memory, int length) const
    {
        std::copy_n(data, data ? std::clamp(size, 0, length) : 0, memory);
        return error;
    }
};

/// A form of a file: how the library saves it, and how it loads it. Both return a code.
struct Form {
    using File = QString const &;

    char const * name;
    int (*save)(File file, char * bytes, int length);
    int (*load)(File file, char * memory, int length);
};

constexpr Form forms[] = {
    {"Buffer",
     [](Form::File file, char * bytes, int length) {
         Buffer buffer(bytes, length);
         buffer.saveToFile(file, true);
         return int{buffer.error};
     },
     [](Form::File file, char * memory, int length) {
         Buffer buffer;
         buffer.loadFromFile(file, true);
         return buffer.loadedTo(memory, length);
     }},
    {"CompressedBuffer",
     [](Form::File file, char * bytes, int length) {
         Buffer buffer(bytes, length);
         buffer.saveToFileCompressed(file);
         return int{buffer.error};
     },
     [](Form::File file, char * memory, int length) {
         Buffer buffer;
         buffer.loadFromFileCompressed(file, true);
         return buffer.loadedTo(memory, length);
     }},
    {"Gzip",
     [](Form::File file, char * bytes, int length) {
         return Buffer::saveGzipFile(file, bytes, length);
     },
     [](Form::File file, char * memory, int length) {
         Buffer buffer;
         buffer.loadGzipFile(file, 10000);
         return buffer.loadedTo(memory, length);
     }},
    {"GzipMemory",
     [](Form::File file, char * bytes, int length) {
         return Buffer::saveGzipFile(file, bytes, length);
     },
     [](Form::File file, char * memory, int length) {
         return Buffer::loadGzipFile(file, memory, unsigned(length), true);
     }},
    {"Blocks",
     [](Form::File file, char * bytes, int length) {
         return Buffer::saveToFile(file, true, bytes, 1, bytes + 1, length - 1);
     },
     [](Form::File file, char * memory, int length) {
         return Buffer::loadFromFile(file, true, memory, 1, memory + 1, length - 1);
     }},
    {"CompressedBlocks",
     [](Form::File file, char * bytes, int length) {
         return Buffer::saveToFileCompressed(file, true, bytes, 1, bytes + 1, length - 1);
     },
     [](Form::File file, char * memory, int length) {
         return Buffer::loadFromFileCompressed(file, true, memory, 1, memory + 1, length - 1);
     }},
    {"CompressedHeader",
     [](Form::File file, char * bytes, int length) {
         return Buffer::saveToFileCompressedHeader(file, bytes, length);
     },
     [](Form::File file, char * memory, int length) {
         return Buffer::loadFromFileCompressedHeader(file, memory, length);
     }},
    {"CompressN",
     [](Form::File file, char * bytes, int length) {
         return Buffer::compressNSaveToFile(file, bytes, length);
     },
     [](Form::File file, char * memory, int length) {
         return Buffer::compressNLoadFromFile(file, memory, length, true);
     }}};

/// Saving empties the file first, so what was written before a failure stays.
Operation saving(Form const & form)
{
    return {.name = std::string("save") + form.name,
            .before = {{"/target", previousContent()}},
            .run =
                [&form](std::string const & folder) {
                    return reportCode(
                        form.save(nameIn(folder, "target"), bytesOfAll(), sizeOfAll()));
                },
            .mayBe = {{"/target", Part}},
            .mayHideFaults = std::string_view(form.name) == "CompressN"};
}

Operation loading(Form const & form)
{
    Files const files = {{"/target", savedAs(form.name)}};
    // A file that cannot be looked at counts as missing, which is a code and no system error.
    std::string const missing = "code " + std::to_string(_OX_DataBuffer::Missing);
    return {.name = std::string("load") + form.name,
            .before = files,
            .after = files,
            .run = [&form](std::string const & folder) -> Report {
                std::string loaded(newContent().size(), '\0');
                int const code = form.load(nameIn(folder, "target"), loaded.data(), sizeOfAll());
                return code == 0 && loaded != newContent() ? Report{false, wrongContent}
                                                           : reportCode(code);
            },
            .texts = {missing}};
}

Operation writing()
{
    return {.name = "write",
            .before = {{"/target", previousContent()}},
            .after = {{"/target", newContent()}},
            .run =
                [](std::string const & folder) {
                    return reportText(oxWriteBufferToFile(
                        nameIn(folder, "target"), reinterpret_cast<unsigned char *>(bytesOfAll()),
                        sizeOfAll()));
                },
            .mayBe = {{"/target", Part}}};
}

Files const sourceAndTarget = {{"/source", newContent()}, {"/target", previousContent()}};
Files const sourceTwice = {{"/source", newContent()}, {"/target", newContent()}};

/// Copies the source to the target; a source that cannot be looked at counts as missing.
Operation copying(char const * name, Files const & before, unsigned targetMayBe,
                  std::function<QString(QString const & from, QString const & to)> const & copy)
{
    return {.name = name,
            .before = before,
            .after = sourceTwice,
            .run =
                [copy](std::string const & folder) {
                    return reportText(copy(nameIn(folder, "source"), nameIn(folder, "target")));
                },
            .mayBe = {{"/target", targetMayBe}},
            .texts = {"Source file does not exist"}};
}

std::vector<Operation> copies()
{
    Files const withPart = {{"/source", newContent()}, {"/target", newContent().substr(0, 10000)}};
    Files const withoutTarget = {{"/source", newContent()}};
    auto const copy = [](QString const & from, QString const & to) {
        return oxCopyFile(from, to, true, -1);
    };
    auto const inPieces = [](QString const & from, QString const & to) {
        return oxCopyFile(from, to, true, 0);
    };
    auto const resume = [](QString const & from, QString const & to) {
        bool limitReported = false;
        return oxResumeFile(from, to, limitReported);
    };
    auto const resumeWithBuffer = [](QString const & from, QString const & to) {
        bool limitReported = false;
        _OX_DataBuffer added;
        return oxResumeFile(from, to, limitReported, &added);
    };
    std::vector<Operation> all = {
        copying("copy", sourceAndTarget, Missing | PartOfTheDead, copy),
        copying("copyInPieces", sourceAndTarget, Missing | Part | OtherSize, inPieces),
        copying("resume", withPart, Part, resume),
        copying("resumeWithBuffer", withPart, Part, resumeWithBuffer),
        copying("resumeFromTheStart", withoutTarget, PartOfTheDead, resume),
        copying("resumeFromTheStartWithBuffer", withoutTarget, Part, resumeWithBuffer)};
    all[1].mayHideFaults = true; // the farm compares the sizes
    return all;
}

/// A source or a folder that cannot be looked at counts as missing.
Operation synchronising(char const * name, Files const & before, Files const & after, int pause,
                        char const * target)
{
    return {.name = name,
            .before = before,
            .after = after,
            .run =
                [target, pause](std::string const & folder) {
                    _oxString8_evenSize<500> errors;
                    bool const isUpToDate =
                        syncCopy(nameIn(folder, "source"), nameIn(folder, target), false, &errors,
                                 nullptr, pause, false);
                    return report(isUpToDate, QString(errors));
                },
            .texts = {"does not exist", "Unable to open"}};
}

std::vector<Operation> synchronisations()
{
    Files before = sourceAndTarget;
    before["/target_old"] = "the one before";
    Files after = sourceTwice;
    after["/target_old"] = previousContent();
    std::vector<Operation> all = {
        synchronising("sync", before, after, -1, "target"),
        synchronising("syncInPieces", before, after, 0, "target"),
        synchronising(
            "syncIntoANewFolder", {{"/source", newContent()}},
            {{"/source", newContent()}, {"/folder", isFolder}, {"/folder/target", newContent()}},
            -1, "folder/target")};
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
                [overwrite](std::string const & folder) {
                    return report(oxRenameFile(nameIn(folder, "source"), nameIn(folder, "target"),
                                               overwrite));
                },
            .texts = {"File exists"}, // a target that cannot be looked at counts as missing
            .isRepeatable = false};
}

Operation logging(char const * name, std::string const & after, bool overwrite)
{
    return {.name = name,
            .before = {{"/target", "a line\n"}},
            .after = {{"/target", after}},
            .run =
                [overwrite](std::string const & folder) {
                    return report(
                        writeToLogFile(nameIn(folder, "target"), "another line", overwrite, false));
                },
            .mayBe = {{"/target", Part}},
            .isRepeatable = overwrite};
}

Report createFolders(std::string const & folder)
{
    return report(oxCreateFolder(nameIn(folder, "a/b/c"), true));
}

Report deleteTarget(std::string const & folder)
{
    return reportText(oxDeleteFile(nameIn(folder, "target")));
}

Files folderOfFiles(int count)
{
    Files files = {{"/folder", isFolder}};
    for (int i = 0; i < count; ++i)
        files["/folder/frame." + std::to_string(i)] = std::to_string(i);
    return files;
}

Report list(std::string const & folder)
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

Report empty(std::string const & folder)
{
    _oxEmptyFolderOptions options;
    options.recursive = true;
    _oxEmptyFolderResult const result = oxEmptyFolder(nameIn(folder, "folder"), options);
    return report(result.done && result.failures == 0, result.lastError);
}

Report lockAndUnlock(std::string const & folder)
{
    _oxFileLocker locker(nameIn(folder, "target"));
    if (!locker.lock(0, QStringLiteral("campaign"), nullptr, false))
        return report(false, QStringLiteral("not locked"));
    return report(locker.unlock(), QStringLiteral("not unlocked"));
}

std::vector<Operation> operationsOnNames()
{
    Files const text = {{"/target", "a line\n"}};
    Files tree = folderOfFiles(3);
    tree["/folder/sub"] = isFolder;
    tree["/folder/sub/file"] = "1";
    return {renaming("rename", {{"/source", newContent()}}, false),
            renaming("renameOver", sourceAndTarget, true),
            {.name = "createFolder",
             .before = {},
             .after = {{"/a", isFolder}, {"/a/b", isFolder}, {"/a/b/c", isFolder}},
             .run = createFolders,
             .texts = {"File exists"}}, // by a folder that cannot be looked at
            // A file that cannot be looked at counts as missing, and so as deleted.
            {.name = "delete", .before = text, .run = deleteTarget, .mayHideFaults = true},
            {.name = "list", .before = folderOfFiles(20), .after = folderOfFiles(20), .run = list},
            {.name = "empty", .before = tree, .after = {{"/folder", isFolder}}, .run = empty},
            logging("log", "a line\nanother line\n", false),
            logging("logOver", "another line\n", true),
            {.name = "lock", .before = text, .after = text, .run = lockAndUnlock}};
}

} // namespace

std::string savedAs(std::string_view name)
{
    TemporaryFolder const folder;
    QString const file = folder.filePath(QStringLiteral("file"));
    for (Form const & form : forms) {
        if (form.name == name)
            form.save(file, bytesOfAll(), sizeOfAll());
    }
    return filesIn(folder.path().toStdString())["/file"];
}

std::vector<Operation> libraryOperations()
{
    std::vector<Operation> all = {writing()};
    for (Form const & form : forms) {
        all.push_back(saving(form));
        all.push_back(loading(form));
    }
    for (auto const & some : {copies(), synchronisations(), operationsOnNames()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

} // namespace ox::tests
