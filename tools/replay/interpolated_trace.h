// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "trace.h"

namespace replay {

// A trace whose temperatures do not jump: between two rows that both have one, every degree on the
// way is a row of its own, at equal intervals. A step of more than 1000 degrees stays one.
class InterpolatedTrace : public Trace {
public:
    // `temperatures`: the keys that hold degrees; "ambient" is one, too.
    InterpolatedTrace(std::unique_ptr<Trace> trace, const std::vector<std::string>& temperatures);

    bool next(Row& row) override;
    std::vector<std::string_view> keys() const override { return trace_->keys(); }
    std::vector<PassedOver> passed_over() const override { return trace_->passed_over(); }
    std::string at_row(const std::string& reason) const override { return trace_->at_row(reason); }
    const Bytes& bytes() const override { return trace_->bytes(); }

private:
    struct Step {
        std::int64_t time_ms;
        std::string_view name; // a key of `last_`
        std::int64_t degrees;
        bool is_condition;
    };

    bool fetch();
    void add_steps(std::string_view name, std::int64_t degrees, bool is_condition);
    void give(const Step& step, Row& row);

    std::unique_ptr<Trace> trace_;
    struct Last {
        std::int64_t degrees = 0;
        std::uint64_t row = 0; // where that stood; 0: nowhere yet
    };

    std::map<std::string, Last, std::less<>> last_; // by the names of the temperatures
    std::uint64_t row_ = 0;                         // the pending one's number
    Row pending_;
    std::deque<Step> steps_; // up to the pending row
    std::int64_t last_ms_ = 0;
    std::string text_; // of the step that was given
    bool has_pending_ = false;
};

} // namespace replay
