// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "models/model.h"

namespace replay {

struct Options {
    std::string trace; // a file, or "-"
    const power_man::Model* model = nullptr;
    std::string text = "-"; // files to write; "-": standard output; empty: none
    std::string html;
    std::string svg;
    std::string seed; // files to read; empty: none
    std::string heat;
    double step = 1; // seconds, of the closed loop
    bool interpolate = false;
    bool supplied = true;
};

// Reads the command line. Without options there is nothing to do but to end with `status`: help was
// printed, or what is wrong.
std::optional<Options> read_options(int argc, char** argv, int& status);

} // namespace replay
