// SPDX-License-Identifier: MIT
// The heat of a terminal, for a closed loop: what the daemon takes away cools the terminal.
//
// Each sensor tends to the ambient temperature, plus its own degrees with everything off, plus the
// degrees of each consumer that is on and works, exponentially with its time constant. Between two
// steps all of that is constant, so a step is exact however long it is.
//
// The file:
//   # comment
//   sensor Radio Module
//   time constant = 600          seconds
//   off = 12                     degrees above ambient with everything off
//   background data = 4          degrees that it adds when it is on at full load: the names are
//   PoE = 9.5                    those of the reports
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "models/model.h"
#include "story.h"

namespace replay {

struct Surroundings {
    double ambient = 20; // degrees Celsius
    std::array<double, power_man::consumer_count> load = {100, 100, 100,
                                                          100}; // percent, by consumer
    std::array<bool, power_man::consumer_count> off{};
};

struct SensorHeat {
    std::size_t sensor = 0;   // index in the model's list
    double time_constant = 0; // seconds
    double off = 0;           // degrees, as the next ones
    std::array<double, power_man::consumer_count> added{};
    double temperature = 0; // now

    // Where the temperature tends to.
    double equilibrium(const Surroundings& surroundings) const;

    // Lets that time pass.
    void step(double seconds, const Surroundings& surroundings);

    // What the sensor shows: whole degrees.
    std::int32_t reading() const;
};

// The sensors that the file describes; none, and one line in `error`, when it is refused.
std::optional<std::vector<SensorHeat>>
read_thermal_model(const std::string& file, const power_man::Model& model, std::string& error);

} // namespace replay
