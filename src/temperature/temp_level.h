// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "temperature/temp_desc.h"

// Places the sensor with index `id` of `temp_desc` in an interval and runs, in order, the
// actions of every interval boundary that it crosses.
//
// `alarm_id` decides where the descriptor maps it to an interval; otherwise `temp` (degrees
// Celsius) does, against the thresholds of the present supply. A caller with a temperature
// passes alarm 0, one with an alarm passes temperature 0. Nothing happens while the supply
// cannot be read, or for an alarm that no amplifier has (logged once for each).
//
// Actions must not call it again.
void temp_action(int id, int alarm_id, int temp);

namespace power_man {

// The interval that a reading leads to from the interval `current`; decides only. `alarm_id` is 0
// to 6, and `temp` as above; `supplied` is true with external supply.
std::int32_t next_interval(const temp_sensor_desc_t& sensor, std::int32_t current, int alarm_id,
                           int temp, bool supplied);

// What temp_action() made of a reading.
struct Evaluation {
    std::size_t sensor; // index of `temp_desc`
    int alarm_id;
    int temp;
    std::optional<std::int32_t> supply; // none: it was unknown, and nothing else happened
    std::int32_t before;                // intervals
    std::int32_t after;
};

// Told of every known alarm and every temperature from now on, when all that follows from it is
// done; it must not call temp_action().
using EvaluationObserver = void (*)(const Evaluation& evaluation);
void add_evaluation_observer(EvaluationObserver observer);

} // namespace power_man
