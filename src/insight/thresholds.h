// SPDX-License-Identifier: MIT
// Where a sensor leaves an interval, found by asking the evaluation itself.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "temperature/temp_desc.h"

namespace power_man::insight {

// A move of a sensor whose temperature decides. `limit` is the last degree at which it still stays.
struct Move {
    std::int32_t limit;
    std::int32_t to; // the interval that it comes to one degree further
};

std::optional<Move> move_up(const temp_sensor_desc_t& sensor, std::int32_t from, bool supplied);
std::optional<Move> move_down(const temp_sensor_desc_t& sensor, std::int32_t from, bool supplied);

// Where a rising temperature ends: of a sensor with fewer than five intervals one beyond its last.
// Of an amplifier, its last.
std::int32_t highest_interval(const temp_sensor_desc_t& sensor);

// The last degree at which a sensor in `from` stays above the interval `to`, which it is to leave
// downwards for or pass.
std::optional<std::int32_t> limit_down_to(const temp_sensor_desc_t& sensor, std::int32_t from,
                                          std::int32_t to, bool supplied);

// "leaves below 65, above 75".
std::string leaves_text(const temp_sensor_desc_t& sensor, std::int32_t from, bool supplied);

// The states of an amplifier that lead to one of the intervals from `lowest` to `highest`.
std::vector<std::string> states_between(const temp_sensor_desc_t& sensor, std::int32_t lowest,
                                        std::int32_t highest);

} // namespace power_man::insight
