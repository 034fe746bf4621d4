#pragma once

#include "tests/faults/operation.h"
#include "tests/support/fault_mount_linux.h"

#include <filesystem>
#include <map>
#include <string>
#include <utility>

namespace ox::tests
{

/// Model of a disk whose power fails after one of the logged requests.
///
/// Content survives if its file was flushed, and a name survives if its folder was flushed. Other
/// content and names are kept or lost. A disk may keep a name and lose the content.
class DiskModel
{
  public:
    enum class Keeps { Everything, Flushed, NamesAndFlushedContent };

    static constexpr std::pair<char const *, Keeps> all[] = {
        {"everything", Keeps::Everything},
        {"what was flushed", Keeps::Flushed},
        {"names and the content that was flushed", Keeps::NamesAndFlushedContent}};

    /// Starts with the files of a folder, all of them flushed.
    explicit DiskModel(std::filesystem::path const & folder);

    void apply(LoggedRequest const & request);

    Files content(Keeps keeps) const;

  private:
    struct File {
        std::string content;
        std::string flushed;
    };
    using Names = std::map<std::string, ino_t>;

    void rename(std::string const & from, std::string const & to);
    void flushFolder(std::string const & folder);

    std::map<ino_t, File> files_;
    Names names_;
    Names flushedNames_;
};

} // namespace ox::tests
