// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "host/board/board_wires.h"

namespace host {

// A board that is made of plain files: what the kernel does when a device file is written.
//
//   /sys/class/gpio/export     makes the line's directory "gpioN" with direction "in" and its
//                              wire's level, see board_wires.h; the number must belong to one of
//                              the "gpiochipB" directories (files "base" and "ngpio")
//   /sys/class/gpio/unexport   removes it
//   gpioN/direction            in, out (low), low, high; reads "in" or "out"; a line that becomes
//                              an input has its wire's level again
//   gpioN/value                an output's level, 0 or 1; an input's belongs to the outside: any
//                              program that writes the file plays the part of the wire
//   gpioN/edge                 none, rising, falling, both; an output takes "none" alone
//   gpioN/active_low           1: "value" shows the opposite of the wire; "low" and "high" are the
//                              wire's levels nevertheless
//   gpiochipB                  for reading only, as "export" and "unexport" are for writing only
//   any other file             holds what was written last
//
// Numbers are read as the kernel reads them: 81, +81, 0x51 and 0121 are one line.
//
// What a file cannot be, and the kernel's files are: a pulse that is over before the loop looks is
// lost, where the kernel keeps the edge; and a value file that was never read does not wake the
// loop at once.
//
// No file is ever empty while its content changes.
class Board {
public:
    // `root` has no slash at its end; the log must outlive the board.
    Board(std::string root, Log& log) : root_(std::move(root)), wires_(root_ + "/lines", log) {}

    const std::string& root() const { return root_; }

    // A write of `text` to the file that `fd` has open, whose path on the board is `path`
    // (absolute, without double slashes). Returns the bytes taken or a negative errno: the kernel's
    // EINVAL for a word, number or line that it does not know, ERANGE for a number beyond 32 bits,
    // EBUSY for a line that is exported already, EPERM for the value of an input, EIO for the edge
    // of an output, ENODEV for a line that was unexported meanwhile, EBADF for a descriptor that is
    // open for reading only.
    ssize_t write(std::string_view path, int fd, std::string_view text);

    // 0 when the file may be opened with those flags, otherwise -EACCES: there are files that root
    // itself can only read, or only write.
    static int check_open(std::string_view path, int flags);

private:
    std::string root_;
    BoardWires wires_;
};

} // namespace host
