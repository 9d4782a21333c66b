// SPDX-License-Identifier: MIT
// A board that is made of plain files: what the kernel does when a device file is written.
//
//   /sys/class/gpio/export     makes the line's directory "gpioN" with direction "in"; the number
//                              must belong to one of the "gpiochipB" directories (files "base"
//                              and "ngpio")
//   /sys/class/gpio/unexport   removes it
//   gpioN/direction            in, out (low), low, high; reads "in" or "out"
//   gpioN/value                an output's level, 0 or 1; an input's belongs to the outside: any
//                              program that writes the file plays the part of the wire
//   gpioN/edge                 none, rising, falling, both
//   any other file             holds what was written last
//
// "active_low" is there, but lines are never inverted.
//
// The level that a line has when it is exported is 0, unless the file "lines" in the board's root
// says otherwise: rows "NUMBER LEVEL" with level 0 or 1; '#' begins a comment.
//
// No file is ever empty while its content changes.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

namespace host::board {

// A write of `text` to the file that `fd` has open, whose path on the board is `path` (absolute,
// without double slashes). `root` has no slash at its end. Returns the bytes taken or a negative
// errno: the kernel's EINVAL for a word, number or line that it does not know, EBUSY for a line
// that is exported already, EPERM for the value of an input, ENODEV for a line that was
// unexported meanwhile, EBADF for a descriptor that is open for reading only.
ssize_t write(const std::string& root, std::string_view path, int fd, std::string_view text);

} // namespace host::board
