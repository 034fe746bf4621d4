// Keeps a job in memory up to date while other machines rewrite its file on the share:
//   job_refresher FILE [CHECKS]     CHECKS: number of checks, one a second; without it, no limit
// While the file is unchanged, a check costs one status query (stat). A new version is loaded under
// the file's lock. If the new version is damaged, the previous job stays loaded.

#include "shared/data/data_buffer.h"
#include "shared/fs/file.h"
#include "shared/fs/file_locker.h"
#include "shared/system/environment.h"
#include "shared/system/os_error.h"
#include "shared/time/time_value.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

namespace
{

struct Version {
    _oxTime time;
    __int64 size = 0;
    bool operator==(Version const &) const = default;
};

class JobFile
{
  public:
    explicit JobFile(QString const & path) : path_(path) {}

    /// If the file has changed since the last load, loads it again.
    void refresh()
    {
        std::optional<Version> const found = version();
        if (!found)
            std::puts("the file does not exist");
        else if (found != loaded_)
            load();
    }
    bool isLoaded() const { return loaded_.has_value(); }

  private:
    std::optional<Version> version() const
    {
        Version found;
        if (!oxFileExists(path_, &found.time, &found.size))
            return {};
        return found;
    }

    void load()
    {
        _oxFileLocker locker(path_);
        int waited = 0;
        if (!locker.lock(5000, QStringLiteral("job_refresher"), &waited, false)) {
            std::printf("no lock after %d ms\n", waited);
            return;
        }
        // The file may have changed again before this process got the lock.
        std::optional<Version> const found = version();
        auto next = std::make_unique<_OX_DataBuffer>();
        if (!next->loadFromFile(path_, true)) {
            std::printf("not loaded: %s\n", next->errorString().c_str());
            return;
        }
        job_ = std::move(next);
        loaded_ = found;
        std::printf("loaded %d bytes, CRC-32 %08X\n", job_->size, job_->crc);
    }

    QString path_;
    std::unique_ptr<_OX_DataBuffer> job_;
    std::optional<Version> loaded_;
};

} // namespace

int main(int argc, char ** argv)
{
    if (argc < 2) {
        std::fputs("usage: job_refresher FILE [CHECKS]\n", stderr);
        return 2;
    }
    JobFile job(QString::fromLocal8Bit(argv[1]));
    int const checks = argc > 2 ? std::atoi(argv[2]) : 0;
    for (int check = 1;; ++check) {
        job.refresh();
        std::fflush(stdout);
        if (check == checks)
            return job.isLoaded() ? 0 : 1;
        oxSleep(1000);
    }
}
