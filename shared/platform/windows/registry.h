#pragma once

#include <optional>
#include <string>
#include <utility>

#include <windows.h>

namespace ox::platform
{

/// An open registry key, which is closed at the end of the scope.
class RegistryKey
{
  public:
    /// Opens an existing key in the 64-bit view of the registry, even in a 32-bit program.
    RegistryKey(HKEY root, wchar_t const * path, REGSAM rights)
    {
        if (::RegOpenKeyExW(root, path, 0, rights | KEY_WOW64_64KEY, &key_) != ERROR_SUCCESS)
            key_ = nullptr;
    }
    /// Takes ownership of an open key, which may be null.
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

    /// Returns whether the key has a value of this name.
    bool hasValue(wchar_t const * name) const
    {
        return ::RegQueryValueExW(key_, name, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    }

    /// Returns a 4-byte value; empty if it does not exist or has another type.
    std::optional<DWORD> number(wchar_t const * name) const
    {
        DWORD value = 0;
        DWORD size = sizeof value;
        auto const error =
            ::RegGetValueW(key_, nullptr, name, RRF_RT_REG_DWORD, nullptr, &value, &size);
        return error == ERROR_SUCCESS && size == sizeof value ? std::optional(value) : std::nullopt;
    }

    /// Sets a 4-byte value. Failures are not reported.
    void setNumber(wchar_t const * name, DWORD value) const
    {
        ::RegSetValueExW(key_, name, 0, REG_DWORD, reinterpret_cast<BYTE const *>(&value),
                         sizeof value);
    }

    /// Returns a text value with its environment variables expanded. Empty if the value does not
    /// exist or has more than 1023 characters.
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

/// Sets the 4-byte value `name` of the key `path` to 0 if it is 1. Any other value stays unchanged.
inline void turnOff(HKEY root, wchar_t const * path, wchar_t const * name)
{
    RegistryKey const key(root, path, KEY_QUERY_VALUE | KEY_SET_VALUE);
    if (key.isOpen() && key.number(name) == DWORD{1})
        key.setNumber(name, 0);
}

} // namespace ox::platform
