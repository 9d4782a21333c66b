// SPDX-License-Identifier: MIT
// What temperature management knows and does at this moment, read and derived once for whoever
// shows it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "insight/holds.h"
#include "insight/memory.h"
#include "models/model.h"
#include "temperature/temp_desc.h"

namespace power_man::insight {

struct SensorState {
    const Sensor* sensor;
    const temp_sensor_desc_t* description;
    const SensorMemory* memory; // null when the platform id came after the start
    const char* source;         // key of what decides: its temperature, or an amplifier's state
    std::int32_t interval;
    std::optional<std::int32_t> temperature; // degrees; none: cannot be read
    std::optional<std::int32_t> alarm;       // of an amplifier
    EffectSet effects;                       // that it has in force

    bool by_alarm() const { return decides_by_alarm(*sensor); }

    std::optional<Moment> read_at() const; // the last reading

    // What decides can be read, and means something.
    bool is_valid() const;
};

struct EffectState {
    Effect effect;
    std::vector<const Sensor*> holders; // none: a mark of an earlier life
    std::optional<Moment> since;        // none: since before the start
};

enum class Condition { normal, limited, not_protected };

struct State {
    const Model* model; // null: unknown
    std::optional<std::int32_t> supply;
    std::vector<SensorState> sensors;
    std::vector<EffectState> effects;     // in force
    std::vector<std::string> unprotected; // reasons

    Condition condition() const
    {
        if (!unprotected.empty())
            return Condition::not_protected;
        return effects.empty() ? Condition::normal : Condition::limited;
    }
};

State present_state();

// This terminal's model; null when its id is unknown or has not been readable. Unlike
// current_model() it logs nothing.
const Model* present_model();

// Why there is none.
std::string unknown_model_text();

std::optional<std::int32_t> read_key(const char* key);

// "1 (Too High)"; a state that no amplifier has, "9 (unknown)".
std::string alarm_text(std::int32_t alarm);

// "reading of 71 C", "state 1 (Too High)".
std::string reading_text(const Sensor& sensor, std::int32_t reading);

// Names of what holds, for a list.
std::vector<std::string> names(const std::vector<const Sensor*>& sensors);

} // namespace power_man::insight
