// SPDX-License-Identifier: MIT
// What happens to a terminal, told to whoever reports it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "models/model.h"
#include "temperature/effects.h"
#include "trace.h"

namespace replay {

// One bit for each sensor of the model, by its index.
using Sensors = std::uint32_t;

struct Reading {
    std::size_t sensor; // index in the model's list
    std::int32_t value; // degrees, or the state of an amplifier
    bool is_state;
    bool supplied;
    std::size_t before; // intervals; one beyond the sensor's last is there, too
    std::size_t after;

    bool is_transition() const { return before != after; }
};

inline const char* name_of(power_man::ConsumerIndex consumer)
{
    return power_man::effects[consumer].name;
}

// "background data limited", "PoE off".
inline std::string held_text(power_man::ConsumerIndex consumer)
{
    const power_man::EffectRow& row = power_man::effects[consumer];
    return std::string(row.name) + " " + row.begun;
}

enum class Order : std::uint8_t { reboot, shutdown };

// Calls give the milliseconds since the beginning. What came of one another comes in that order:
// the row, the evaluation of a sensor, the effects of that moment, and behind the line of an effect
// what that means.
class Listener {
public:
    virtual ~Listener() = default;

    // The daemon has started; what came before is the same for every trace.
    virtual void started() {}

    virtual void row(std::int64_t, const Row&) {}
    virtual void evaluated(std::int64_t, const Reading&) {}

    // A line of the daemon's journal.
    virtual void effect(std::int64_t, std::string_view) {}

    // A consumer is on, or held off by those sensors; by none when an earlier life of the daemon
    // has left it so.
    virtual void consumer(std::int64_t, power_man::ConsumerIndex, bool /*off*/, Sensors /*by*/) {}

    virtual void event(std::int64_t, std::string_view /*name*/, bool /*raised*/) {}
    virtual void order(std::int64_t, Order) {}

    virtual void ended(std::int64_t) {}
};

} // namespace replay
