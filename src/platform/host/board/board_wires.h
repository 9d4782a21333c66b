// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "host/log/log.h"

namespace host {

// What stands at the other end of the board's lines: a file with rows "NUMBER LEVEL"; '#' begins a
// comment. A line without a row is low.
class BoardWires {
public:
    BoardWires(std::string path, Log& log) : path_(std::move(path)), log_(log) {}

    // The level of a line's wire while the board does not drive it, "0\n" or "1\n"; the last row
    // of that number counts. A wrong row is logged once. Reads the file each time.
    std::string_view level(int number);

private:
    std::string path_;
    Log& log_;
    int reported_ = 0; // the last wrong row that was logged
};

} // namespace host
