// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "trace.h"

namespace replay {

// What `redis-cli MONITOR` printed: its SET, MSET and DEL with their times. Everything else is
// passed over and counted, what the recorded daemon wrote itself among it: the one that replays
// writes it anew.
class MonitorTrace : public Trace {
public:
    explicit MonitorTrace(Lines lines) : lines_(std::move(lines)) {}

    // True for a line of a recording, and for the "OK" that redis-cli begins with.
    static bool recognises(std::string_view line);

    bool next(Row& row) override;
    std::vector<PassedOver> passed_over() const override;
    std::string at_row(const std::string& reason) const override { return lines_.at_line(reason); }
    const Bytes& bytes() const override { return lines_.bytes(); }

private:
    enum class Line {
        replayed,
        other_command,
        conditional,
        own,
        model,
        refused,
        unreadable,
        count
    };

    Line read(std::span<char> line, Row& row);
    void take(std::int64_t time);
    Line read_command(Row& row);
    bool split(std::span<char> line);
    Line add(std::string_view key, std::optional<std::string_view> value, Row& row) const;

    Lines lines_;
    std::vector<std::string_view> words_;
    std::array<std::uint64_t, static_cast<std::size_t>(Line::count)> counts_{};
    std::uint64_t clock_set_ = 0;    // how often the recorded clock went back, or jumped
    std::int64_t correction_ms_ = 0; // of the recorded clock, so that time goes on
    std::int64_t last_ms_ = 0;
    std::int64_t given_ms_ = 0; // up to where rows were given
};

} // namespace replay
