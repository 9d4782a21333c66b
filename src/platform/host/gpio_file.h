// SPDX-License-Identifier: MIT
// What a device path means in the kernel's GPIO interface.
#pragma once

#include <string_view>

namespace host {

inline constexpr std::string_view gpio_directory = "/sys/class/gpio/";

struct GpioFile {
    enum class Kind { other, export_line, unexport_line, direction, value, edge };

    Kind kind = Kind::other;
    std::string_view line; // the number of a line's own file, as the path has it; part of the path
};

// `path` is absolute and has no double slashes.
GpioFile gpio_file(std::string_view path);

// What was written, as the kernel compares it: without one line end.
std::string_view written_word(std::string_view text);

} // namespace host
