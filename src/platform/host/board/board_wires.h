// SPDX-License-Identifier: MIT
// What stands at the other end of the board's lines: the file "lines" in its root, with rows
// "NUMBER LEVEL"; '#' begins a comment. A line without a row is low.
#pragma once

#include <string>
#include <string_view>

namespace host::board {

// The level of a line's wire while the board does not drive it, "0\n" or "1\n"; the last row of
// that number counts. A wrong row is logged once. Reads the file each time.
std::string_view level_outside(const std::string& root, int number);

} // namespace host::board
