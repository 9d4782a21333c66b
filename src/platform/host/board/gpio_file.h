// SPDX-License-Identifier: MIT
// What a device path means in the kernel's GPIO interface.
#pragma once

#include <cstdint>
#include <string_view>

namespace host {

inline constexpr std::string_view gpio_directory = "/sys/class/gpio/";

struct GpioFile {
    enum class Kind { other, export_line, unexport_line, chip, direction, value, edge, active_low };

    Kind kind = Kind::other;
    std::string_view line; // the number of a line's own file, as the path has it; part of the path
};

// `path` is absolute and has no double slashes.
GpioFile gpio_file(std::string_view path);

// What was written, as the kernel compares it: without one line end.
std::string_view written_word(std::string_view text);

// A number as the kernel reads it: a sign, "0x" or "0" for another base, nothing around it.
// 0, -EINVAL, or -ERANGE beyond 32 bits; `number` is untouched on failure.
int read_kernel_number(std::string_view word, std::int32_t& number);

} // namespace host
