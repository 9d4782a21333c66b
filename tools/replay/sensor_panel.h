// SPDX-License-Identifier: MIT
#pragma once

#include <climits>
#include <string>

#include "output.h"
#include "picture.h"

namespace replay {

// A sensor in the drawing: its curve over its intervals, and a strip that shows in which of them it
// was. An amplifier, which tells no temperature, has the strip alone.
class SensorPanel {
public:
    // Both must outlive the panel. `seconds`: the duration of the run, more than 0.
    SensorPanel(const Subject& subject, const Picture& picture, std::size_t sensor, double seconds,
                int top);

    int bottom() const; // pixels from the top of the drawing

    // What a person hears who does not see it; empty for an amplifier.
    std::string words() const;

    void write(Output& output) const;

private:
    void write_bands(Output& output) const;
    void write_scale(Output& output) const;
    void write_curve(Output& output) const;
    void write_intervals(Output& output, int y) const;

    const Picture& picture_;
    const power_man::Sensor& description_;
    const SensorPicture& seen_;
    double seconds_;
    int top_;
    int lowest_ = INT_MAX; // degrees, of the scale
    int highest_ = INT_MIN;
};

} // namespace replay
