// The commands of the tool that read and write files, as operations of the campaigns.

#include "tests/faults/operation.h"

#include <unistd.h>

namespace ox::tests
{
namespace
{

using Run = std::function<Report(std::string const &)>;

/// Returns a function that replaces the process by the tool (exec). An argument that begins with
/// '@' is a path in the test's folder.
Run tool(std::vector<std::string> arguments)
{
    return [arguments](std::string const & folder) -> Report {
        std::vector<std::string> words = {OX_TOOL};
        for (std::string const & each : arguments)
            words.push_back(each.starts_with('@') ? folder + '/' + each.substr(1) : each);
        std::vector<char *> pointers;
        for (std::string & word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
        ::dup2(STDERR_FILENO, STDOUT_FILENO);
        ::execv(OX_TOOL, pointers.data());
        return {false, "the tool does not start"};
    };
}

Files const sourceAndTarget = {{"/source", newContent()}, {"/target", previousContent()}};
Files const sourceTwice = {{"/source", newContent()}, {"/target", newContent()}};

// Error texts that the library returns for several causes, including failed status queries.
constexpr char fileIsMissing[] = "File does not exists!";
constexpr char sourceIsMissing[] = "Source file does not exist";

/// A command that loads a buffer file and writes its payload to the target.
Operation payloadWriter(char const * name, char const * form, std::vector<std::string> arguments)
{
    std::string const file = savedAs(form);
    return {.name = name,
            .before = {{"/job", file}, {"/target", previousContent()}},
            .after = {{"/job", file}, {"/target", newContent()}},
            .run = tool(std::move(arguments)),
            .texts = {fileIsMissing},
            .isFlushed = true};
}

Operation refreshing()
{
    Files const files = {{"/job", savedAs("Buffer")}};
    return {.name = "refreshInMemory",
            .before = files,
            .after = files,
            .run = tool({"refresh", "@job"}),
            .texts = {fileIsMissing},
            .byName = 5};
}

Operation packing(char const * name, char const * format)
{
    return {.name = name,
            .before = sourceAndTarget,
            .run = tool({"pack", "@source", "@target", "--format", format}),
            .texts = {fileIsMissing},
            .isFlushed = true};
}

Operation copying(char const * name, std::vector<std::string> arguments)
{
    return {.name = name,
            .before = sourceAndTarget,
            .after = sourceTwice,
            .run = tool(std::move(arguments)),
            .texts = {sourceIsMissing, "Unable to open input file."},
            .isFlushed = true};
}

Operation synchronising()
{
    Files const before = {{"/from", isFolder},
                          {"/from/a", newContent()},
                          {"/from/b", "small"},
                          {"/to", isFolder},
                          {"/to/a", previousContent()}};
    Files after = before;
    after["/to/a"] = newContent();
    after["/to/a_old"] = previousContent();
    after["/to/b"] = "small";
    return {.name = "sync",
            .before = before,
            .after = after,
            .run = tool({"sync", "@from", "@to", "--jobs", "1"}),
            .backup = "/to/a_old",
            .texts = {sourceIsMissing, "Destination folder does not exist!"},
            .isFlushed = true};
}

Operation replacing()
{
    std::string before;
    std::string after;
    for (int i = 0; i < 2000; ++i) {
        before += "server=farm-old\n";
        after += "server=farm17\n";
    }
    return {.name = "replace",
            .before = {{"/target", before}},
            .after = {{"/target", after}},
            .run = tool({"replace", "@target", "farm-old", "farm17"}),
            .texts = {"is write-protected"}, // also if the status query for the target fails
            .isFlushed = true};
}

Operation resuming()
{
    Files before = sourceTwice;
    before["/target"].resize(10000);
    return {.name = "resume",
            .before = before,
            .after = sourceTwice,
            .run = tool({"resume", "@source", "@target"}),
            .mayBe = {{"/target", Part}},
            .texts = {sourceIsMissing, "Unable to write data", "Unable to read all data"}};
}

} // namespace

std::vector<Operation> toolOperations()
{
    Operation restart = copying("resumeFromTheStart", {"resume", "@source", "@target"});
    restart.before["/target"] = previousContent() + previousContent();
    return {
        payloadWriter("refresh", "Buffer", {"refresh", "@job", "--out", "@target"}),
        refreshing(),
        payloadWriter("refreshCompressed", "CompressN", {"refresh", "@job", "--out", "@target"}),
        payloadWriter("unpack", "CompressedBuffer", {"unpack", "@job", "--out", "@target"}),
        packing("packPlain", "db"),
        packing("packCompressed", "zp"),
        packing("packCompressN", "ns"),
        packing("packGzip", "gz"),
        copying("cp", {"cp", "@source", "@target"}),
        copying("cpInPieces", {"cp", "@source", "@target", "--pause", "0"}),
        synchronising(),
        replacing(),
        resuming(),
        restart,
        {.name = "lock",
         .before = {{"/target", "text"}},
         .after = {{"/target", "text"}},
         .run = tool({"lock", "@target", "--timeout", "0", "--", "/bin/true"}),
         .byName = 4}};
}

} // namespace ox::tests
