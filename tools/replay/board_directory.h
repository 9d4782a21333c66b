// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "models/model.h"

namespace replay {

// The emulated board of a terminal model, made of what the model says about its devices, in a
// private directory that goes with the object.
class BoardDirectory {
public:
    explicit BoardDirectory(const power_man::Model& model);
    ~BoardDirectory();
    BoardDirectory(const BoardDirectory&) = delete;
    BoardDirectory& operator=(const BoardDirectory&) = delete;

    // Why there is none, with errno's text; empty when all is well.
    const std::string& error() const { return error_; }

    const std::string& root() const { return root_; }

    // What stands at the other end of a GPIO line: 1 (high) or 0. A line that the daemon watches
    // shows its edge to the loop. False, and error(), when the file cannot be written.
    bool set_wire(int line, bool high);

private:
    void put(std::string_view path, std::string_view text);
    void put_chip(std::string_view directory, std::string_view first, std::string_view count);
    void put_line(std::string_view number);
    void put_wires();

    std::string root_;
    std::string error_;
    std::map<int, bool> wires_; // all others are low
};

} // namespace replay
