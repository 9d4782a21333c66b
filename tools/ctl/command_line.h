// SPDX-License-Identifier: MIT
// Lines that the console's shell takes as they are meant. It knows printable ASCII only, and no
// way to write a quote: what it would misread is refused here.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace ctl {

inline constexpr std::size_t longest_line = 255; // the shell refuses longer ones

// One line of which the shell makes the same words. Nothing after a complaint.
std::optional<std::string> join_words(std::span<char* const> words);

// False after a complaint.
bool check_line(std::string_view line);

// The next line of standard input, without blanks around it; cut behind `longest_line`. False at
// the end.
bool next_line(std::string& line);

} // namespace ctl
