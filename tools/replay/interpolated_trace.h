// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "trace.h"

namespace replay {

// A trace whose temperatures do not jump: every degree between a temperature and its next one is a
// row of its own, at equal intervals. They do jump over more than 1000 degrees, over more than
// 10000 rows without that temperature, and over a value that is no number or was removed.
class InterpolatedTrace : public Trace {
public:
    // `temperatures`: the keys that hold degrees; "ambient" is one, too.
    InterpolatedTrace(std::unique_ptr<Trace> trace, const std::vector<std::string>& temperatures);

    bool next(Row& row) override;
    std::vector<std::string_view> keys() const override { return trace_->keys(); }
    std::vector<PassedOver> passed_over() const override { return trace_->passed_over(); }
    std::string at_row(const std::string& reason) const override { return given_.place + reason; }
    const Bytes& bytes() const override { return trace_->bytes(); }

private:
    // A row that waits, with texts of its own.
    struct Waiting {
        std::int64_t time_ms = 0;
        std::vector<std::pair<std::string, std::optional<std::string>>> writes;
        std::vector<std::pair<std::string, double>> conditions;
        std::string place; // "FILE:LINE: "
    };

    // A temperature, and when it had that.
    struct Last {
        std::int64_t degrees;
        std::int64_t time_ms;
        std::uint64_t row;
    };

    bool fetch();
    bool front_is_ready() const;
    void take(std::string_view name, std::optional<std::int64_t> degrees, bool is_condition);

    std::unique_ptr<Trace> trace_;
    Row row_; // read last
    std::uint64_t rows_ = 0;
    std::map<std::string, std::optional<Last>, std::less<>> last_; // by name
    std::deque<Waiting> waiting_; // rows, and the steps between them, in order of time
    std::int64_t steps_from_ = 0; // those of the row that was read lie behind this moment
    Waiting given_;
    bool at_end_ = false;
};

} // namespace replay
