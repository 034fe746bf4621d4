#include "tests/support/fault_injection.h"

namespace ox::tests
{

bool canInjectFaults(Shell const & shell, QByteArray const & arguments)
{
    return sizeof(void *) == 8 && shell.succeeds("fiu-run -x \"$0\" " + arguments);
}

} // namespace ox::tests
