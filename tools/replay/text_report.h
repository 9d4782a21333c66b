// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "output.h"
#include "story.h"
#include "summary.h"

namespace replay {

// The story in lines of text that are the same for the same story: what changed nothing is left
// out. Two of them compare with diff.
class TextReport : public Listener {
public:
    // `begin_ms`: the moment at which the time of the run begins. Both must outlive the report.
    TextReport(const power_man::Model& model, std::int64_t begin_ms, Output& output)
        : model_(model), begin_ms_(begin_ms), output_(output)
    {
    }

    void started() override;
    void row(std::int64_t now, const Row& row) override;
    void evaluated(std::int64_t now, const Reading& reading) override;
    void effect(std::int64_t now, std::string_view line) override;

    // The table at the end.
    void table(const Summary& summary);

private:
    void heading(std::int64_t now);
    void line(std::int64_t now, std::string_view text);
    bool wrote(const char* key) const;
    void sensor_table(std::size_t index, const SensorSummary& sensor, std::int64_t duration);
    void consumer_table(const Summary& summary);

    const power_man::Model& model_;
    std::int64_t begin_ms_;
    Output& output_;
    const Row* row_ = nullptr; // the last one, while it is the cause of what happens
    std::int64_t row_time_ = 0;
    std::int64_t last_time_ = -1; // that was printed
    bool has_heading_ = false;    // what caused the lines to come is printed
    bool started_ = false;
    bool start_transition_ = false;
    std::vector<std::string> start_; // what happened at the start, transitions behind "- "
    std::string margin_;
};

// "Normal Operation", or "beyond Closing connections" for the one behind the last.
std::string interval_name(const power_man::Sensor& sensor, std::size_t interval);

// "71", or "Too High" for the state of an amplifier.
std::string value_text(const Reading& reading);

} // namespace replay
