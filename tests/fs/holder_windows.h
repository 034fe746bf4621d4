#pragma once

#include <gtest/gtest.h>

#include <QString>

#include <windows.h>

/// Opens a file without sharing. The destructor closes the file.
class Holder
{
  public:
    explicit Holder(QString const & name)
        : handle_(::CreateFileW(name.toStdWString().c_str(), GENERIC_READ, 0, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))
    {
        EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
    }
    ~Holder() { ::CloseHandle(handle_); }
    Holder(Holder const &) = delete;
    Holder & operator=(Holder const &) = delete;

  private:
    HANDLE handle_;
};
