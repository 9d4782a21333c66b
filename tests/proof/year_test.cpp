// SPDX-License-Identifier: MIT
#include "proof/life.h"

namespace proof {
namespace {

class Year : public testing::TestWithParam<Policy> {};

TEST_P(Year, HoldsAllThatMustHold)
{
    Life(GetParam()).live();
}

INSTANTIATE_TEST_SUITE_P(Proof, Year, testing::ValuesIn(policies()),
                         [](const auto& policy) { return std::string(policy.param.model); });

} // namespace
} // namespace proof
