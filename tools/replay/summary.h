// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "story.h"

namespace replay {

struct Extreme {
    std::int32_t value;
    std::int64_t at; // milliseconds since the beginning, the first time
};

struct SensorSummary {
    std::vector<std::int64_t> time_in;  // milliseconds in each interval, one beyond the last
    std::vector<std::uint64_t> entered; // how often each was entered
    std::uint64_t readings = 0;         // evaluated
    std::optional<Extreme> lowest;
    std::optional<Extreme> highest;
    std::int32_t last = 0; // the reading in the end

    std::size_t interval = 1; // now, from there on
    std::int64_t since = 0;
};

struct ConsumerSummary {
    std::uint64_t times_off = 0;
    std::int64_t time_off = 0;           // milliseconds
    std::vector<std::int64_t> by_sensor; // of it, held by each sensor; two may hold at once

    bool off = false; // now, by those, from there on
    Sensors by = 0;
    std::int64_t since = 0;
};

// What a run came to.
class Summary : public Listener {
public:
    explicit Summary(const power_man::Model& model);

    void row(std::int64_t now, const Row& row) override;
    void evaluated(std::int64_t now, const Reading& reading) override;
    void consumer(std::int64_t now, power_man::ConsumerIndex index, bool off, Sensors by) override;
    void event(std::int64_t now, std::string_view name, bool raised) override;
    void order(std::int64_t now, Order order) override;
    void ended(std::int64_t now) override;

    std::vector<SensorSummary> sensors; // by their index in the model
    std::array<ConsumerSummary, power_man::consumer_count> consumers;
    std::map<std::string, std::uint64_t, std::less<>> raised; // events
    std::uint64_t reboots = 0;
    std::uint64_t shutdowns = 0;
    std::uint64_t rows = 0;
    std::uint64_t writes = 0;
    std::int64_t duration = 0; // milliseconds
};

} // namespace replay
