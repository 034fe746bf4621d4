#pragma once

#include <optional>
#include <string>
#include <utility>

#include <windows.h>

namespace ox::platform
{

/// An open key of the registry, closed at the end of the scope.
class RegistryKey
{
  public:
    /// Opens an existing key. 32-bit programs see what 64-bit ones see.
    RegistryKey(HKEY root, wchar_t const * path, REGSAM rights)
    {
        if (::RegOpenKeyExW(root, path, 0, rights | KEY_WOW64_64KEY, &key_) != ERROR_SUCCESS)
            key_ = nullptr;
    }
    /// Takes over what a call of the system has opened, which may be null.
    explicit RegistryKey(HKEY key) : key_(key) {}
    ~RegistryKey()
    {
        if (key_)
            ::RegCloseKey(key_);
    }
    RegistryKey(RegistryKey const &) = delete;
    RegistryKey & operator=(RegistryKey const &) = delete;

    bool isOpen() const { return key_ != nullptr; }
    HKEY get() const { return key_; }

    bool hasValue(wchar_t const * name) const
    {
        return ::RegQueryValueExW(key_, name, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    }

    /// A 4-byte value; empty when there is none, or one of another type.
    std::optional<DWORD> number(wchar_t const * name) const
    {
        DWORD value = 0;
        DWORD size = sizeof value;
        auto const error =
            ::RegGetValueW(key_, nullptr, name, RRF_RT_REG_DWORD, nullptr, &value, &size);
        return error == ERROR_SUCCESS && size == sizeof value ? std::optional(value) : std::nullopt;
    }

    void setNumber(wchar_t const * name, DWORD value) const
    {
        ::RegSetValueExW(key_, name, 0, REG_DWORD, reinterpret_cast<BYTE const *>(&value),
                         sizeof value);
    }

    /// A text, with the variables in it replaced; empty when there is none or it is too long to be
    /// a path.
    std::optional<std::wstring> text(wchar_t const * name) const
    {
        wchar_t value[1024];
        DWORD size = sizeof value;
        if (::RegGetValueW(key_, nullptr, name, RRF_RT_REG_SZ, nullptr, value, &size) !=
            ERROR_SUCCESS)
            return std::nullopt;
        return value;
    }

  private:
    HKEY key_ = nullptr;
};

/// Sets a 4-byte value that is 1 to 0, and leaves any other as it is.
inline void turnOff(HKEY root, wchar_t const * path, wchar_t const * name)
{
    RegistryKey const key(root, path, KEY_QUERY_VALUE | KEY_SET_VALUE);
    if (key.isOpen() && key.number(name) == DWORD{1})
        key.setNumber(name, 0);
}

} // namespace ox::platform
