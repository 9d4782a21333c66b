// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <string>

// Names the cases of a parameterised test by the `platform` of their rows.
template <typename Row>
std::string model_name(const testing::TestParamInfo<Row>& info)
{
    return info.param.platform;
}
