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

/// The files below a folder: path with a separator in front, and content.
using Files = std::map<std::string, std::string>;

/// What a folder has in place of a content.
inline std::string const isFolder = "\x01 folder";

Files filesIn(std::filesystem::path const & folder);

/// Makes a folder hold these files and nothing else. Their times are past, a minute apart.
void makeFiles(std::filesystem::path const & folder, Files const & files);

// Contents that do not compress and take several requests.

std::string const & previousContent();
std::string const & newContent();

/// The new content in the form of the operation "save" + name.
std::string savedAs(std::string_view name);

/// What a run reports.
struct Report {
    bool hasSucceeded = false;
    std::string text = {}; ///< of the failure; after a success, a warning
};

/// The text of a report about a success that was none.
inline constexpr char wrongContent[] = "wrong content";

/// What a file may be after a fault, beside its previous content and its new one.
enum FileState : unsigned {
    Part = 1,          ///< the beginning of the new content, also nothing
    PartOfTheDead = 2, ///< Part, when the process could not remove it any more
    Missing = 4,       ///< there is no file
    OtherSize = 8,     ///< it lacks the bytes that the fault has lost
};

/// An operation of the library or a command of the tool, and what holds when a fault meets it: it
/// reports a failure, or has done all; every file has its previous or its new content at any time.
/// The members from `mayBe` on are the documented exceptions.
struct Operation {
    std::string name;
    Files before;
    Files after = {}; ///< when it has succeeded; empty: what it leaves without a fault

    /// Runs it in a folder. Called in a process of its own.
    std::function<Report(std::string const & folder)> run;

    std::map<std::string, unsigned> mayBe = {}; ///< FileStates of the files
    /// A success may leave what a failure may leave.
    bool mayHideFaults = false;
    /// The file that gets the target's previous content. After a success with a warning it may keep
    /// its own.
    std::string backup = {};
    /// Texts for causes that the operation does not tell apart.
    std::vector<std::string> texts = {};
    /// A second run reaches the same end.
    bool isRepeatable = true;
    /// The new content is on the disk when it has succeeded.
    bool isFlushed = false;
    /// The most requests by name without a fault; 0 is no limit.
    int byName = 0;
};

void PrintTo(Operation const & operation, std::ostream * out);

std::vector<Operation> libraryOperations();
std::vector<Operation> toolOperations();

} // namespace ox::tests
