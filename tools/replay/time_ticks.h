// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace replay {

struct Tick {
    std::int64_t time; // milliseconds since the beginning
    std::string label;
};

// Some ten round moments within that time; the page's script does the same for what it zooms into.
std::vector<Tick> time_ticks(std::int64_t begin_ms, std::int64_t duration_ms);

} // namespace replay
