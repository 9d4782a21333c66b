// SPDX-License-Identifier: MIT
// What the user sees: answers on standard output, complaints on standard error.
#pragma once

#include <string_view>

namespace ctl {

// Exit status when a command was not run, or its answer did not come.
inline constexpr int trouble = 2;

// At once, all of it, however slow the reader is. False, after a complaint, when it cannot be
// written.
bool print(std::string_view text);

// One line behind the program's name.
void complain(std::string_view text);

} // namespace ctl
