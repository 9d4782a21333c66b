// SPDX-License-Identifier: MIT
#include "proof/life.h"
#include "support/allocations.h"
#include "temperature/temp_level.h"

namespace proof {
namespace {

class Year : public testing::TestWithParam<Policy> {};

TEST_P(Year, HoldsAllThatMustHold)
{
    Life(GetParam()).live();
    const int sensor = GetParam().sensors.front().number;
    temp_action(sensor, 0, 20);
    const std::size_t before = allocations();
    temp_action(sensor, 0, 20);
    EXPECT_EQ(allocations(), before) << "an evaluation that changes nothing takes no memory";
}

INSTANTIATE_TEST_SUITE_P(Proof, Year, testing::ValuesIn(policies()),
                         [](const auto& policy) { return std::string(policy.param.model); });

} // namespace
} // namespace proof
