#pragma once

#include <QString>

#include <chrono>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

namespace ox::tool
{

/// Parses one value of an option, such as "STORED_ROOT=LOCAL_ROOT". Returns false if the text does
/// not have the form that the option's `valueName` shows.
using ParseValue = bool (*)(QString const & text);

/// Variable that receives a duration in milliseconds. The value of the option may have a unit
/// ("5s"). A bare number is in milliseconds.
struct Milliseconds {
    int * value;
};

/// Variable that receives an age. The value of the option may have a unit ("7d"). A number
/// without a unit is in seconds.
struct Age {
    std::optional<std::chrono::milliseconds> * value;
};

/// Variable that receives the values of an option. Its type determines the number of values:
/// - `bool`: none;
/// - a number, a duration, an age or a text: one;
/// - a span: one for each element;
/// - a list or a parser: any number; the user repeats the option for each value.
/// A QString receives a text or a file name; a std::string receives the unchanged bytes. All
/// alternatives are trivially copyable, since the variant is copied in every command and would be
/// slow to compile.
using Target =
    std::variant<bool *, int *, double *, Milliseconds, Age, QString *, std::vector<QString> *,
                 std::string *, std::vector<std::string> *, std::span<int>, ParseValue>;
static_assert(std::is_trivially_copyable_v<Target>);

struct Range {
    double least;
    double most;
};

/// Returns the range from `least` to the largest `int`.
Range atLeast(int least);

/// An option of a command, or a positional argument.
struct Option {
    std::string name = {};      ///< "--timeout"; a positional argument has a name such as "FILE"
    char letter = 0;            ///< 'r' for "-r"; 0 for none
    std::string valueName = {}; ///< "MS"
    std::string help = {};      ///< one line, without unit and default
    std::string unit = {};      ///< "ms"; empty for none
    Target target = {};         ///< holds the default before the command line is read
    bool showsDefault = false;
    bool isRequired = false;
    bool isHidden = false;                     ///< whether the help leaves the option out
    std::optional<Range> range = {};           ///< of a number, or of a duration in ms
    std::vector<std::string> choices = {};     ///< the values of a text; empty for any
    std::vector<std::string> suggestions = {}; ///< completed by a shell; other values are valid
    std::string needs = {};                    ///< name of another option that must be given
    std::string excludes = {};                 ///< name of another option that must be absent
};

/// Group of commands, which has its own heading in the help of the program (the overview).
enum class Group { BufferFiles, Locks, Files, Machine, Diagnosis, Help };

/// A command as data, from which the parser, the help and the overview are built.
struct Command {
    std::string name = {};
    Group group = {};
    std::string summary = {}; ///< one line, imperative
    std::string details = {}; ///< facts that no option's help contains; may have several lines
    std::vector<Option> options = {};
    std::vector<std::string> examples = {}; ///< whole command lines
    std::vector<Command> subcommands = {};  ///< if not empty, the user must name one of them
    std::function<int()> run = {};          ///< returns the exit status; throws Failure
    bool isHidden = false;                  ///< whether overview, pages and completions omit it
};

} // namespace ox::tool
