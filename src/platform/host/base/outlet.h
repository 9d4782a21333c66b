// SPDX-License-Identifier: MIT
// Writing where somebody may not be reading. The standard descriptors are shared with other
// processes, which would notice O_NONBLOCK: the receiver is asked before each write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace host {

// Writes what the receiver takes at once, one write for all that a ready pipe takes; a terminal
// gets smaller pieces. The number of bytes that are out.
std::size_t write_ready(int fd, std::string_view text);

// Lines for a descriptor, which is not owned. Lines that it does not take are dropped; when it goes
// on, "N lines were dropped" stands in their place.
class Outlet {
public:
    explicit Outlet(int fd) : fd_(fd) {}

    // Whole lines, as a rule. `mark` is put before the line that tells of dropped ones. Line feeds
    // get a carriage return on a terminal that does not add one itself. False when something was
    // dropped.
    bool write(std::string_view text, std::string_view mark = {});

private:
    bool put(const std::string& text);

    int fd_;
    bool inside_line_ = false; // the last byte that was taken was no line end
    std::uint64_t dropped_ = 0;
};

} // namespace host
