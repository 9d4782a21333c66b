// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "curve.h"
#include "story.h"

namespace replay {

struct Subject {
    const power_man::Model& model;
    std::int64_t begin_ms; // the moment at which the run begins
    std::string name;      // of the trace, for a person
};

struct Transition {
    std::int64_t time; // milliseconds since the beginning, as everywhere here
    std::int32_t value;
    std::size_t interval; // from then on
};

struct SensorPicture {
    Curve curve;
    std::vector<Transition> transitions;
    std::int32_t lowest = INT32_MAX;
    std::int32_t highest = INT32_MIN;

    bool has_readings() const { return lowest <= highest; }
};

struct Span {
    std::int64_t begin;
    std::int64_t end;
    Sensors by;
};

// A lane's spans, the last one open until it is closed.
class Spans {
public:
    void open(std::int64_t time, Sensors by);
    void close(std::int64_t time);
    const std::vector<Span>& all() const { return spans_; }

    // How often it began; who takes over from another goes on with it.
    std::size_t times() const { return times_; }

private:
    std::vector<Span> spans_;
    std::size_t times_ = 0;
    bool open_ = false;
};

// What a drawing of the run shows. Curves are thinned out, everything else is kept.
class Picture : public Listener {
public:
    explicit Picture(const power_man::Model& model) : sensors(model.sensors.size()) {}

    void evaluated(std::int64_t now, const Reading& reading) override;
    void consumer(std::int64_t now, power_man::ConsumerIndex index, bool off, Sensors by) override;
    void event(std::int64_t now, std::string_view name, bool raised) override;
    void order(std::int64_t now, Order order) override;
    void ended(std::int64_t now) override;

    std::vector<SensorPicture> sensors; // by their index in the model
    std::array<Spans, power_man::consumer_count> consumers;
    Spans short_circuits; // of USB
    Spans unsupplied;     // without external supply, as far as a sensor was evaluated
    std::map<std::string, std::vector<std::int64_t>> marks; // events and orders, by what they say
    std::int64_t duration = 0;
};

} // namespace replay
