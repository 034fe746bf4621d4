#pragma once

#include "shared/platform/file_names.h"

#include <string_view>
#include <utility>

#include <windows.h>

namespace ox::platform
{

/// Iterates over the files that match a name or pattern, without "." and "..".
class FoundFiles
{
  public:
    explicit FoundFiles(NativeName const & path) : path_(path) {}
    ~FoundFiles() { close(); }
    FoundFiles(FoundFiles const &) = delete;
    FoundFiles & operator=(FoundFiles const &) = delete;

    /// Finds the first file. Without this call, the first call of next() finds it. Returns false
    /// after a failure.
    bool open()
    {
        if (find_ == INVALID_HANDLE_VALUE)
            hasFirst_ = step();
        return error_ == ERROR_SUCCESS;
    }

    /// Moves to the next file. Returns false at the end and after a failure; error() is 0 at the
    /// end.
    bool next()
    {
        while (std::exchange(hasFirst_, false) || step()) {
            std::wstring_view const name = record_.cFileName;
            if (name != L"." && name != L"..")
                return true;
        }
        return false;
    }

    WIN32_FIND_DATAW const & record() const { return record_; }
    DWORD error() const { return error_; }

  private:
    bool step()
    {
        if (hasEnded_)
            return false;
        if (find_ == INVALID_HANDLE_VALUE) {
            // FindExInfoBasic omits short names; LARGE_FETCH reads many records per round trip.
            find_ = ::FindFirstFileExW(path_.c_str(), FindExInfoBasic, &record_,
                                       FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
            if (find_ != INVALID_HANDLE_VALUE)
                return true;
        } else if (::FindNextFileW(find_, &record_)) {
            return true;
        }
        DWORD const error = ::GetLastError();
        bool const isEnd = error == ERROR_NO_MORE_FILES || error == ERROR_FILE_NOT_FOUND;
        error_ = isEnd ? ERROR_SUCCESS : error;
        hasEnded_ = true;
        close();
        return false;
    }

    void close()
    {
        HANDLE const find = std::exchange(find_, INVALID_HANDLE_VALUE);
        if (find != INVALID_HANDLE_VALUE)
            ::FindClose(find);
    }

    NativeName path_;
    HANDLE find_ = INVALID_HANDLE_VALUE;
    WIN32_FIND_DATAW record_ = {};
    DWORD error_ = ERROR_SUCCESS;
    bool hasEnded_ = false;
    bool hasFirst_ = false; ///< whether open() has found record_
};

/// Returns whether a found file is a folder.
inline bool isFolder(WIN32_FIND_DATAW const & record)
{
    return (record.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// Returns the size of a found file in bytes; 0 for a folder.
inline std::int64_t sizeOf(WIN32_FIND_DATAW const & record)
{
    if (isFolder(record))
        return 0;
    return static_cast<std::int64_t>(std::uint64_t{record.nFileSizeHigh} << 32 |
                                     record.nFileSizeLow);
}

} // namespace ox::platform
