// SPDX-License-Identifier: MIT
#include "base/version.h"
#include "insight/status.h"
#include "insight/text.h"
#include "insight/thresholds.h"

namespace power_man::insight {
namespace {

std::string number(const std::optional<std::int32_t>& value)
{
    return value ? printed("%d", *value) : "null";
}

std::string time(const std::optional<Moment>& moment)
{
    return moment ? printed("%d", wall_time(*moment)) : "null";
}

std::string list(const std::vector<std::string>& values)
{
    return "[" + joined(values) + "]";
}

std::string texts(std::vector<std::string> values)
{
    for (std::string& value : values)
        value = quoted(value);
    return list(values);
}

std::string limit(const std::optional<Move>& move)
{
    return move ? printed("%d", move->limit) : "null";
}

std::string sensor_object(const SensorState& sensor, bool supplied)
{
    const auto read_at = sensor.read_at();
    std::string text = "{\"name\": " + quoted(sensor.sensor->name);
    print_to(text, ", \"temperature\": %s, \"valid\": %s, \"read_at\": %s",
             number(sensor.temperature).c_str(), sensor.is_valid() ? "true" : "false",
             time(read_at).c_str());
    print_to(text, ", \"interval\": %d, \"interval_name\": %s", sensor.interval,
             quoted(interval_name(*sensor.description, sensor.interval)).c_str());
    if (sensor.by_alarm())
        return text + ", \"state\": " + number(sensor.alarm) + "}";
    const temp_sensor_desc_t& description = *sensor.description;
    print_to(text, ", \"leaves_below\": %s, \"leaves_above\": %s}",
             limit(move_down(description, sensor.interval, supplied)).c_str(),
             limit(move_up(description, sensor.interval, supplied)).c_str());
    return text;
}

std::string effect_object(const EffectState& state)
{
    const EffectRow& row = effects[static_cast<std::size_t>(state.effect)];
    return "{\"name\": " + quoted(row.name) + ", \"state\": " + quoted(row.begun) +
           ", \"holders\": " + texts(names(state.holders)) + ", \"since\": " + time(state.since) +
           "}";
}

const char* condition_name(Condition condition)
{
    switch (condition) {
    case Condition::normal:
        return "normal";
    case Condition::limited:
        return "limited";
    case Condition::not_protected:
        break;
    }
    return "not protected";
}

} // namespace

std::string status_json(const State& state)
{
    std::vector<std::string> sensors;
    for (const SensorState& sensor : state.sensors)
        sensors.push_back(sensor_object(sensor, state.supply.value_or(1) != 0));
    std::vector<std::string> in_force;
    for (const EffectState& effect : state.effects)
        in_force.push_back(effect_object(effect));
    std::string text = "{\"version\": " + quoted(version) + ", \"platform\": ";
    text += state.model != nullptr ? quoted(state.model->id) : "null";
    print_to(text, ", \"condition\": \"%s\", \"since\": %s, \"not_protected\": %s",
             condition_name(state.condition()), time(any_in_force_since()).c_str(),
             texts(state.unprotected).c_str());
    print_to(text, ", \"external_supply\": %s",
             !state.supply ? "null" : (*state.supply != 0 ? "true" : "false"));
    return text + ", \"sensors\": " + list(sensors) + ", \"in_force\": " + list(in_force) + "}\n";
}

} // namespace power_man::insight
