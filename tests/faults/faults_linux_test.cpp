#include "tests/faults/campaign.h"

#include <gtest/gtest.h>

using namespace ox::tests;

namespace
{

std::string nameOf(testing::TestParamInfo<Operation> const & operation)
{
    return operation.param.name;
}

class Library : public testing::TestWithParam<Operation>
{
};

class Tool : public testing::TestWithParam<Operation>
{
};

} // namespace

TEST_P(Library, HandlesAFaultAtEveryRequest)
{
    Campaign(GetParam()).run(allFaults());
}

TEST_P(Library, IsConsistentAfterEveryPowerFailure)
{
    Campaign(GetParam()).cutPower();
}

TEST_P(Tool, HandlesAFaultAtEveryRequest)
{
    Campaign(GetParam()).run(someFaults());
}

TEST_P(Tool, IsConsistentAfterEveryPowerFailure)
{
    Campaign(GetParam()).cutPower();
}

INSTANTIATE_TEST_SUITE_P(Faults, Library, testing::ValuesIn(libraryOperations()), nameOf);
INSTANTIATE_TEST_SUITE_P(Faults, Tool, testing::ValuesIn(toolOperations()), nameOf);

// Removes the pauses between the library's attempts, since a campaign contains thousands of pauses.

extern "C" int __wrap_nanosleep(timespec const *, timespec *)
{
    return 0;
}
