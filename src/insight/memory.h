// SPDX-License-Identifier: MIT
// What is remembered of the readings of this terminal's sensors: a fixed size for each, filled by
// the evaluations as they come.
#pragma once

#include <array>
#include <optional>
#include <span>

#include "insight/history.h"
#include "insight/moment.h"
#include "models/model.h"
#include "temperature/effects.h"

namespace power_man::insight {

// Between an interval and the next.
struct Crossings {
    std::uint32_t upwards = 0; // counted
    std::uint32_t downwards = 0;

    // The last one.
    Moment at = 0;
    std::int32_t reading = 0; // degrees or, of an amplifier, its state
    bool supplied = false;
    bool up = false;

    bool any() const { return upwards + downwards > 0; }
};

struct SensorMemory {
    std::optional<Moment> read_at;                    // the last reading
    std::array<Crossings, most_intervals> boundaries; // index: the interval below
    std::optional<std::size_t> last_crossed;          // index; none: where it started
    History history;                                  // degrees
};

// Starts afresh, and watches the evaluations from now on. Without a model nothing is remembered.
void start_memory(const Model* model);

// Of the model's sensors, by their index there. Histories are up to date.
std::span<const SensorMemory> sensor_memories();

// The beginning of all memory.
Moment memory_start();

// Since when some sensor has the effect in force; none when none has.
std::optional<Moment> in_force_since(Effect effect);

// Since when any is in force, whichever.
std::optional<Moment> any_in_force_since();

} // namespace power_man::insight
