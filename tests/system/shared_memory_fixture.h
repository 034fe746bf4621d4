#pragma once

#include "shared/system/shared_memory.h"
#include "tests/support/child.h"
#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <string>

namespace ox::tests
{

/// A test with a key that no other run of the tests uses.
class SharedMemory : public testing::Test
{
  protected:
    /// Returns the code and the text of the last error in the form "5 OpenFileMappingA: …".
    static std::string failure(oxSharedMemory const & memory)
    {
        return std::to_string(memory.error()) + ' ' + memory.errorString().c_str();
    }

    QString const childProgram = QStringLiteral(OX_TEST_CHILD);
    std::string const key = "test" + std::to_string(QCoreApplication::applicationPid());
    QString const keyText = QString::fromStdString(key);
    oxSharedMemory memory{key.c_str()};
    oxSharedMemory other{key.c_str()};
};

} // namespace ox::tests
