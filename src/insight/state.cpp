// SPDX-License-Identifier: MIT
#include "insight/state.h"

#include <algorithm>

#include "ap/config.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "insight/text.h"
#include "models/models.h"
#include "temperature/protection_status.h"
#include "temperature/readings.h"

namespace power_man::insight {
namespace {

constexpr std::int32_t tenths = 10; // that an amplifier reports for a degree

const char* source_of(const Model& model, std::size_t sensor)
{
    const Reading wanted =
        decides_by_alarm(model.sensors[sensor]) ? Reading::alarm : Reading::temperature;
    const auto feeds = [&](const Source& source) {
        return source.sensor == sensor && source.reading == wanted;
    };
    return std::find_if(model.sources.begin(), model.sources.end(), feeds)->key;
}

SensorState sensor_state(const Model& model, std::size_t index)
{
    const std::size_t number = sensor_number(model, index);
    const Sensor& sensor = model.sensors[index];
    const auto memories = sensor_memories();
    SensorState state{.sensor = &sensor,
                      .description = &temp_desc[number],
                      .memory = index < memories.size() ? &memories[index] : nullptr,
                      .source = source_of(model, index),
                      .interval = temp_mon_rec[number].intv,
                      .temperature = read_key(sensor.key),
                      .alarm = {},
                      .effects = in_force(sensor, temp_mon_rec[number].intv)};
    if (decides_by_alarm(sensor)) {
        state.alarm = read_key(state.source);
        if (state.temperature)
            *state.temperature /= tenths;
    }
    return state;
}

// The mark of the terminal's end is not taken back by anybody.
bool is_marked(Effect effect)
{
    const auto index = static_cast<std::size_t>(effect);
    return is_hold(effect) && read_key(consumers[index].key).value_or(0) != 0;
}

std::vector<EffectState> effect_states(const std::vector<SensorState>& sensors)
{
    std::vector<EffectState> states;
    for (std::size_t i = 0; i < effect_count; ++i) {
        const auto effect = static_cast<Effect>(i);
        EffectState state{effect, {}, in_force_since(effect)};
        for (const SensorState& sensor : sensors) {
            if (sensor.effects.has(effect))
                state.holders.push_back(sensor.sensor);
        }
        if (!state.holders.empty() || is_marked(effect))
            states.push_back(state);
    }
    return states;
}

std::string why_unread(const SensorState& sensor)
{
    if (sensor.alarm && has_reading(*sensor.sensor))
        return printed("the %s reports the unknown state %d", sensor.sensor->name, *sensor.alarm);
    const auto last = sensor.read_at();
    return last ? printed("no reading of the %s since %s", sensor.sensor->name,
                          time_text(*last).c_str())
                : printed("no reading of the %s yet", sensor.sensor->name);
}

} // namespace

bool SensorState::is_valid() const
{
    if (!has_reading(*sensor))
        return false;
    if (!by_alarm())
        return temperature.has_value();
    return alarm && *alarm >= 0 && *alarm < static_cast<std::int32_t>(alarm_count);
}

std::optional<Moment> SensorState::read_at() const
{
    if (memory == nullptr)
        return std::nullopt;
    return memory->read_at;
}

std::optional<std::int32_t> read_key(const char* key)
{
    std::int32_t value = 0;
    if (config_read_int(key, &value) != 0)
        return std::nullopt;
    return value;
}

const Model* present_model()
{
    return find_model(platform_id);
}

std::string unknown_model_text()
{
    return platform_id[0] == '\0' ? "there is no platform id"
                                  : "no model has the platform id " + printable(platform_id);
}

State present_state()
{
    State state{present_model(), read_key(key::external_supply), {}, {}, {}};
    if (database_is_away())
        state.unprotected.emplace_back("the database is away, so no reading arrives");
    if (state.model == nullptr) {
        state.unprotected.push_back(unknown_model_text());
    } else {
        for (std::size_t i = 0; i < state.model->sensors.size(); ++i)
            state.sensors.push_back(sensor_state(*state.model, i));
        if (!state.supply)
            state.unprotected.emplace_back("the supply is unknown, so nothing is evaluated");
    }
    for (const SensorState& sensor : state.sensors) {
        if (!sensor.is_valid())
            state.unprotected.push_back(why_unread(sensor));
    }
    state.effects = effect_states(state.sensors);
    return state;
}

std::string alarm_text(std::int32_t alarm)
{
    const auto index = static_cast<std::uint32_t>(alarm);
    return printed("%d (%s)", alarm,
                   index < temp_state_text.size() ? temp_state_text[index] : "unknown");
}

std::string reading_text(const Sensor& sensor, std::int32_t reading)
{
    return decides_by_alarm(sensor) ? "state " + alarm_text(reading) : printed("%d C", reading);
}

std::vector<std::string> names(const std::vector<const Sensor*>& sensors)
{
    std::vector<std::string> result;
    for (const Sensor* const sensor : sensors)
        result.emplace_back(sensor->name);
    return result;
}

} // namespace power_man::insight
