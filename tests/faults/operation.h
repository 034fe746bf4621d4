#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ox::tests
{

/// The files below a folder. The key is the path with a leading slash, the value is the content.
using Files = std::map<std::string, std::string>;

/// The value in Files for a folder, which has no content.
inline std::string const isFolder = "\x01 folder";

Files filesIn(std::filesystem::path const & folder);

/// Replaces the content of a folder by these files. Their times are in the past, one minute apart.
void makeFiles(std::filesystem::path const & folder, Files const & files);

// Random contents, which cannot be compressed and are larger than a single request.

std::string const & previousContent();
std::string const & newContent();

/// Returns the content of the file that the operation "save" + `name` writes.
std::string savedAs(std::string_view name);

/// The result of one run of an operation.
struct Report {
    bool hasSucceeded = false;
    std::string text = {}; ///< error text of a failure, or a warning after a success
};

/// Report::text of a run in which the library reported success, but the content is wrong.
inline constexpr char wrongContent[] = "wrong content";

/// States that a file may have after a fault, in addition to its previous and its new content.
enum FileState : unsigned {
    Part = 1,          ///< the beginning of the new content, or an empty file
    UnremovedPart = 2, ///< Part, if the process was killed or failed to remove the file
    Missing = 4,       ///< the file does not exist
    OtherSize = 8,     ///< a size that differs from that of the new content
};

/// A function of the library or a command of the tool that the fault tests run. After a
/// fault, the operation must be complete or must have reported a failure. At any time, every file
/// must have its previous or its new content. The members from `mayBe` to `isRepeatable` describe
/// the documented exceptions.
struct Operation {
    std::string name;
    Files before;
    Files after = {}; ///< files after a success; if empty, a fault-free run determines them

    /// Runs the operation in a folder. The campaign calls this function in a separate process.
    std::function<Report(std::string const & folder)> run;

    std::map<std::string, unsigned> mayBe = {}; ///< allowed FileStates of each path
    /// If true, a run that reports success may leave its files in any state that is allowed after
    /// a failure.
    bool mayHideFaults = false;
    /// Path of the backup, which receives the target's previous content. If the run succeeds with
    /// the warning that the target cannot be renamed, the backup may stay unchanged.
    std::string backup = {};
    /// Texts that the report of a failed run may contain instead of the system's error text.
    std::vector<std::string> texts = {};
    /// Whether a second run completes the operation after a failed run.
    bool isRepeatable = true;
    /// Whether the new content survives a power failure after the operation has reported success.
    bool isFlushed = false;
    /// Maximum number of requests that name a file by its path, such as open or status, in a
    /// fault-free run; 0 means no limit.
    int byName = 0;
};

void PrintTo(Operation const & operation, std::ostream * out);

std::vector<Operation> libraryOperations();
std::vector<Operation> toolOperations();

} // namespace ox::tests
