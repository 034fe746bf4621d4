#include "shared/platform/rename_file.h"

#include <cstddef>

#include <windows.h>

namespace ox::platform
{
namespace
{

/// An absolute path in the form that the system takes at any length. It allocates nothing.
class UnlimitedName
{
  public:
    explicit UnlimitedName(wchar_t const * path)
    {
        bool const isShare = path[0] == L'\\' && path[1] == L'\\' && path[2] != L'?';
        bool const isDrive = path[0] != L'\0' && path[1] == L':';
        add(isShare ? LR"(\\?\UNC)" : isDrive ? LR"(\\?\)" : L"");
        add(isShare ? path + 1 : path);
        text_[length_] = L'\0';
    }

    wchar_t const * c_str() const { return text_; }

  private:
    void add(wchar_t const * text)
    {
        while (*text && length_ < longest)
            text_[length_++] = *text++;
    }

    static constexpr std::size_t longest = 1000;

    wchar_t text_[longest + 1];
    std::size_t length_ = 0;
};

} // namespace

Renaming renameToNewName(NativeChar const * from, NativeChar const * to)
{
    UnlimitedName const name(to);
    if (::MoveFileW(from, name.c_str()))
        return Renaming::Done;
    switch (::GetLastError()) {
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS:
        return Renaming::NameIsTaken;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return Renaming::NoSuchFile;
    default:
        return Renaming::Failed;
    }
}

} // namespace ox::platform
