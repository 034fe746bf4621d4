#pragma once

#include "tests/faults/operation.h"
#include "tests/support/fault_mount_linux.h"

#include <filesystem>
#include <map>
#include <string>
#include <utility>

namespace ox::tests
{

/// Model of a disk and of the files that remain on it if the power fails after one of the logged
/// requests.
///
/// Flushed content always remains, and so do the names in a flushed folder. The disk may keep or
/// lose everything else. It may also keep the name of a file and lose the content.
class DiskModel
{
  public:
    enum class Keeps { Everything, Flushed, NamesAndFlushedContent };

    static constexpr std::pair<char const *, Keeps> all[] = {
        {"everything", Keeps::Everything},
        {"what was flushed", Keeps::Flushed},
        {"names and the content that was flushed", Keeps::NamesAndFlushedContent}};

    /// Starts with a copy of the files in a folder. All of them count as flushed.
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
