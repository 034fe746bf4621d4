#pragma once

#include <QString>

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace ox::tool
{

/// Reads one value of an option that has a form of its own. Returns false if the text does not have
/// that form, which the option's `valueName` shows.
using ReadValue = std::function<bool(QString const & text)>;

/// Where an option's values land. The type decides how many values the option takes: none for a
/// `bool`, one for a number or a text, as many as the span has elements, and any number for a list
/// or a reader, whose option is repeated for each. A QString receives a text or a file name, a
/// std::string the bytes as they were given.
using Target = std::variant<bool *, int *, double *, QString *, std::vector<QString> *,
                            std::string *, std::vector<std::string> *, std::span<int>, ReadValue>;

struct Range {
    double least;
    double most;
};

/// The range of whole numbers from `least` up.
Range atLeast(int least);

/// An option of a command, or an argument that is given by its position.
struct Option {
    std::string name = {};      ///< "--timeout"; an argument by position has a name such as "FILE"
    char letter = 0;            ///< 'r' for "-r"; 0 for none
    std::string valueName = {}; ///< "MS"
    std::string help = {};      ///< one line, without unit and default
    std::string unit = {};      ///< "ms"; empty for none
    Target target = {};         ///< holds the default before the command line is read
    bool showsDefault = false;
    bool isRequired = false;
    bool isHidden = false;                 ///< left out of the help
    std::optional<Range> range = {};       ///< of a number
    std::vector<std::string> choices = {}; ///< the values of a text; empty for any
    std::string needs = {};                ///< name of an option that must be given as well
    std::string excludes = {};             ///< name of an option that must not be given as well
};

/// Commands of one group stand together in the overview.
enum class Group { BufferFiles, Locks, Files, Machine, Diagnosis };

/// A command as data: parsing, help and overview are made from it.
struct Command {
    std::string name = {};
    Group group = {};
    std::string summary = {}; ///< one line, imperative
    std::string details = {}; ///< what the options do not say; may have several lines
    std::vector<Option> options = {};
    std::vector<std::string> examples = {}; ///< whole command lines
    std::vector<Command> subcommands = {};  ///< one of them must be given, if there are any
    std::function<int()> run = {};          ///< returns the exit status; throws Failure
};

} // namespace ox::tool
