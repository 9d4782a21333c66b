// SPDX-License-Identifier: MIT
// What a sensor read, row by row: as a drawing or for a program.
#pragma once

#include <string>
#include <vector>

#include "insight/state.h"

namespace power_man::insight {

struct ChartRow {
    Moment begin;
    std::optional<History::Span> readings; // none in all that time
    EffectSet effects;                     // of any sensor, at any time in it
};

// The rows of the last `time` (up to 24 h, at least a minute), each of `step`, oldest first; none
// from before the start.
std::vector<ChartRow> chart_rows(const State& state, std::size_t sensor, Moment time, Moment step);

// The finest step in which all of that time is kept.
Moment finest_step(Moment time);

// At most 80 columns, unless a sensor's name is longer. `boundaries` are marked.
std::string draw(const std::vector<ChartRow>& rows, const std::vector<std::int32_t>& boundaries);

std::string comma_separated(const std::vector<ChartRow>& rows);

} // namespace power_man::insight
