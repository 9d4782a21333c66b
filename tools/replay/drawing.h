// SPDX-License-Identifier: MIT
// The picture as SVG.
//
// Across, a drawing is as wide as its viewport: what follows time stands in nested drawings of
// class "plot" whose own units are seconds, so that zooming is nothing but another viewBox. Curves
// have degrees for units: the document holds the data itself.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "output.h"
#include "picture.h"
#include "sensor_panel.h"

namespace replay {

class Drawing {
public:
    // Both must outlive the drawing.
    Drawing(const Subject& subject, const Picture& picture);

    int height() const { return height_; }      // pixels
    int axis() const { return axis_; }          // from the top to the labels of the time
    double seconds() const { return seconds_; } // of the run, more than 0

    // What a person hears who does not see it.
    std::string description() const;

    // All that stands within the viewport, for a page or a drawing of its own. It needs room for
    // labels: `left_margin` and `right_margin` pixels.
    static constexpr int left_margin = 40;
    static constexpr int right_margin = 56;
    void write_body(Output& output) const;

    // A file of its own.
    void write_file(Output& output) const;

private:
    struct Lane {
        std::string name;
        const Spans* spans; // null: marks
        int top;
    };

    void write_lane(Output& output, const Lane& lane) const;
    void write_marks(Output& output, const Lane& lane) const;
    void write_ticks(Output& output) const;
    void write_legend(Output& output) const;
    std::string holders(Sensors by) const;

    const Subject& subject_;
    const Picture& picture_;
    std::vector<SensorPanel> panels_;
    std::vector<Lane> lanes_;
    mutable std::map<std::string, std::size_t> long_paths_; // that were written, with their names
    int axis_ = 0;                                          // top of the time's labels
    int height_ = 0;
    double seconds_;
};

} // namespace replay
