// SPDX-License-Identifier: MIT
// Text of unknown origin, made fit for a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace host {

inline bool is_printable(char c)
{
    return c >= ' ' && c < '\x7f';
}

// The text with "\xNN" in place of what is not printable ASCII; behind `limit` bytes of it,
// "..." stands for the rest.
std::string printable(std::string_view text, std::size_t limit = std::string_view::npos);

} // namespace host
