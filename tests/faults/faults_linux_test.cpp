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

TEST_P(Library, KeepsItsPromisesUnderFaults)
{
    Campaign(GetParam()).run(allFaults());
}

TEST_P(Library, KeepsItsPromisesWhenThePowerFails)
{
    Campaign(GetParam()).cutPower();
}

TEST_P(Tool, KeepsItsPromisesUnderFaults)
{
    Campaign(GetParam()).run(someFaults());
}

TEST_P(Tool, KeepsItsPromisesWhenThePowerFails)
{
    Campaign(GetParam()).cutPower();
}

INSTANTIATE_TEST_SUITE_P(Faults, Library, testing::ValuesIn(libraryOperations()), nameOf);
INSTANTIATE_TEST_SUITE_P(Faults, Tool, testing::ValuesIn(toolOperations()), nameOf);

// Replaces the pauses between the library's tries, since a campaign contains thousands of them.

extern "C" int __wrap_nanosleep(timespec const *, timespec *)
{
    return 0;
}
