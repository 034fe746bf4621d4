#pragma once

#include "tests/faults/operation.h"
#include "tests/support/fault_mount_linux.h"

#include <filesystem>
#include <map>
#include <string>
#include <utility>

namespace ox::tests
{

/// What a disk holds when the power fails in the middle of the logged requests.
///
/// Content is safe once its file was flushed, and a name once its folder was flushed. What is not
/// safe is kept or lost; a disk may keep the names and lose the content.
class DiskModel
{
  public:
    enum class Keeps { Everything, Flushed, NamesAndFlushedContent };

    static constexpr std::pair<char const *, Keeps> all[] = {
        {"everything", Keeps::Everything},
        {"what was flushed", Keeps::Flushed},
        {"names and the content that was flushed", Keeps::NamesAndFlushedContent}};

    /// Begins with what a folder holds, all of it safe.
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
