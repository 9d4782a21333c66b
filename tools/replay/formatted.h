// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdio>
#include <string>

namespace replay {

// As std::snprintf, for short texts: cut at 511 characters.
template <typename... Values>
std::string formatted(const char* format, Values... values)
{
    std::array<char, 512> text;
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

} // namespace replay
