#include "shared/platform/program/child_process.h"

#include "shared/platform/file_names.h"
#include "shared/platform/windows/utf16.h"

#include <algorithm>

#include <windows.h>

namespace ox::platform
{
namespace
{

/// Quotes an argument by the rules of CommandLineToArgvW. Backslashes are escaped only before a
/// quotation mark.
std::wstring quoted(std::wstring const & argument)
{
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == argument.npos)
        return argument;
    std::wstring text = L"\"";
    std::size_t backslashes = 0;
    for (wchar_t const c : argument) {
        if (c == L'"')
            text.append(backslashes + 1, L'\\');
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        text += c;
    }
    return text.append(backslashes, L'\\') + L'"';
}

std::wstring commandLine(std::vector<std::string> const & command)
{
    std::wstring line;
    for (std::string const & argument : command) {
        if (!line.empty())
            line += L' ';
        line += quoted(toWide(fromUtf8(argument)));
    }
    return line;
}

/// Inheritable duplicates of the standard streams' handles. The child process inherits no other
/// handle.
class InheritedStreams
{
  public:
    InheritedStreams()
    {
        for (DWORD const stream : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE})
            add(::GetStdHandle(stream));
        SIZE_T size = 0;
        ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        attributes_.resize(size);
        startup_.StartupInfo.cb = sizeof startup_;
        startup_.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
        startup_.StartupInfo.hStdInput = streams_[0];
        startup_.StartupInfo.hStdOutput = streams_[1];
        startup_.StartupInfo.hStdError = streams_[2];
        startup_.lpAttributeList =
            reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(attributes_.data());
        ::InitializeProcThreadAttributeList(startup_.lpAttributeList, 1, 0, &size);
        std::copy_if(streams_.begin(), streams_.end(), std::back_inserter(open_),
                     [](HANDLE h) { return h; });
        if (!open_.empty())
            ::UpdateProcThreadAttribute(startup_.lpAttributeList, 0,
                                        PROC_THREAD_ATTRIBUTE_HANDLE_LIST, open_.data(),
                                        open_.size() * sizeof(HANDLE), nullptr, nullptr);
    }
    ~InheritedStreams()
    {
        ::DeleteProcThreadAttributeList(startup_.lpAttributeList);
        for (HANDLE const handle : open_)
            ::CloseHandle(handle);
    }
    InheritedStreams(InheritedStreams const &) = delete;
    InheritedStreams & operator=(InheritedStreams const &) = delete;

    STARTUPINFOW * startup() { return &startup_.StartupInfo; }
    BOOL exist() const { return !open_.empty(); }

  private:
    void add(HANDLE stream)
    {
        HANDLE inheritable = nullptr;
        HANDLE const self = ::GetCurrentProcess();
        ::DuplicateHandle(self, stream, self, &inheritable, 0, TRUE, DUPLICATE_SAME_ACCESS);
        streams_.push_back(inheritable);
    }

    std::vector<HANDLE> streams_;
    std::vector<HANDLE> open_;
    std::vector<std::byte> attributes_;
    STARTUPINFOEXW startup_{};
};

HANDLE toHandle(std::intptr_t number)
{
    return reinterpret_cast<HANDLE>(number);
}

} // namespace

Result<std::unique_ptr<ChildProcess>> ChildProcess::start(std::vector<std::string> const & command)
{
    std::wstring line = commandLine(command);
    InheritedStreams streams;
    PROCESS_INFORMATION process;
    if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, streams.exist(),
                          EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, streams.startup(),
                          &process))
        return lastError();
    ::CloseHandle(process.hThread);
    return std::unique_ptr<ChildProcess>(
        new ChildProcess(reinterpret_cast<std::intptr_t>(process.hProcess)));
}

ChildProcess::~ChildProcess()
{
    ::CloseHandle(toHandle(number_));
}

int ChildProcess::wait() const
{
    DWORD status = 1;
    ::WaitForSingleObject(toHandle(number_), INFINITE);
    ::GetExitCodeProcess(toHandle(number_), &status);
    return static_cast<int>(status);
}

void ChildProcess::send(int) const
{
    ::TerminateProcess(toHandle(number_), static_cast<UINT>(STATUS_CONTROL_C_EXIT));
}

} // namespace ox::platform
