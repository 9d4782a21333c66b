// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "progress.h"
#include "recorder.h"
#include "terminal.h"
#include "thermal_model.h"
#include "trace.h"

namespace replay {

// Lets a terminal live through a trace. The daemon starts at the moment of the first row, just
// before it, and the run ends with the last one.
class Player {
public:
    // `heat`: the sensors of a closed loop, evaluated every `step_ms`; none: readings come from the
    // trace alone. All references must outlive the player.
    Player(const power_man::Model& model, Terminal& terminal, Recorder& recorder,
           std::vector<SensorHeat> heat, std::int64_t step_ms)
        : model_(model), terminal_(terminal), recorder_(recorder), heat_(std::move(heat)),
          step_ms_(heat_.empty() ? day_ms : step_ms)
    {
    }

    // `first` is the first row of the trace. False, with one line in error(), when the trace or
    // the board fails; false, too, when somebody has interrupted it.
    bool play(Trace& trace, Row& first);

    const std::string& error() const { return error_; }

private:
    static constexpr std::int64_t day_ms = 86'400'000;

    bool start(const Row& first);
    bool apply(const Row& row);
    bool take(const Condition& condition);
    void pass_until(std::int64_t moment, Progress& progress);
    void warm(std::int64_t moment);
    void show_readings(bool all);

    const power_man::Model& model_;
    Terminal& terminal_;
    Recorder& recorder_;
    std::vector<SensorHeat> heat_;
    std::int64_t step_ms_; // of the loop; without one, after which somebody may interrupt
    Surroundings surroundings_;
    bool has_ambient_ = false;
    std::int64_t warmed_ = 0; // up to when the heat is known
    std::int64_t next_step_ = 0;
    std::vector<std::int32_t> shown_; // readings, by the index in heat_
    std::string error_;
};

} // namespace replay
