// SPDX-License-Identifier: MIT
#include "insight/status.h"
#include "insight/text.h"
#include "insight/thresholds.h"

namespace power_man::insight {
namespace {

const char* supply_text(const std::optional<std::int32_t>& supply)
{
    if (!supply)
        return "unknown supply";
    return *supply != 0 ? "external supply" : "own supply";
}

std::string headline(const State& state)
{
    std::string text = state.model != nullptr ? state.model->id : "unknown terminal";
    print_to(text, "  %s  ", supply_text(state.supply));
    switch (state.condition()) {
    case Condition::normal:
        return text + "NORMAL\n";
    case Condition::not_protected:
        return text + "NOT PROTECTED: " + joined(state.unprotected, "; ") + "\n";
    case Condition::limited:
        break;
    }
    text += "LIMITED";
    if (const auto since = any_in_force_since())
        print_to(text, " since %s (%s)", time_text(*since).c_str(),
                 duration_text(now() - *since).c_str());
    return text + "\n";
}

std::vector<std::string> sensor_line(const SensorState& sensor, bool supplied)
{
    const auto read_at = sensor.read_at();
    std::vector<std::string> line{sensor.sensor->name};
    line.push_back(sensor.temperature ? printed("%4d C", *sensor.temperature) : "   - C");
    if (sensor.is_valid())
        line.push_back(read_at ? duration_text(now() - *read_at) + " ago" : "not evaluated");
    else
        line.push_back(read_at ? "no reading since " + time_text(*read_at) : "no reading yet");
    line.push_back(interval_name(*sensor.description, sensor.interval));
    if (!sensor.by_alarm())
        line.push_back(leaves_text(*sensor.description, sensor.interval, supplied));
    else if (sensor.alarm)
        line.push_back("state " + alarm_text(*sensor.alarm));
    return line;
}

std::vector<std::string> effect_line(const EffectState& state)
{
    const EffectRow& row = effects[static_cast<std::size_t>(state.effect)];
    return {row.name, row.begun,
            state.holders.empty() ? "an earlier life" : joined(names(state.holders)),
            state.since ? "since " + time_text(*state.since) : "since before the start"};
}

} // namespace

std::string status_text(const State& state)
{
    std::vector<std::vector<std::string>> sensors;
    for (const SensorState& sensor : state.sensors)
        sensors.push_back(sensor_line(sensor, state.supply.value_or(1) != 0));
    std::vector<std::vector<std::string>> lines;
    for (const EffectState& effect : state.effects)
        lines.push_back(effect_line(effect));
    return headline(state) + table(sensors) + table(lines, "  ");
}

} // namespace power_man::insight
