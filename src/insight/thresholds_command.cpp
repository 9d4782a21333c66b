// SPDX-License-Identifier: MIT
// The console's command `thresholds`.
#include "ap/output.h"
#include "insight/commands.h"
#include "insight/holds.h"
#include "insight/sensor_names.h"
#include "insight/state.h"
#include "insight/text.h"
#include "insight/thresholds.h"
#include "insight/wording.h"

namespace power_man::insight {
namespace {

using Cells = std::vector<std::vector<std::string>>;

bool depends_on_supply(const temp_sensor_desc_t& sensor)
{
    for (std::size_t i = 0; i < temp_interval_count; ++i) {
        const temp_range_t& alone = sensor.range_bat[i];
        const temp_range_t& supplied = sensor.range_ac[i];
        if (alone.min != supplied.min || alone.max != supplied.max)
            return true;
    }
    return false;
}

// "to NAME" where a move does not lead to the neighbour.
std::string limit_text(const temp_sensor_desc_t& sensor, const char* side, const Move& move,
                       std::int32_t neighbour)
{
    std::string text = printed("%s %d", side, move.limit);
    if (move.to != neighbour)
        text += " (to " + interval_name(sensor, move.to) + ")";
    return text;
}

std::vector<std::string> temperature_line(const temp_sensor_desc_t& sensor, std::int32_t interval,
                                          bool supplied, const char* when)
{
    std::vector<std::string> enters;
    std::vector<std::string> leaves;
    if (interval > 0) {
        if (const auto up = move_up(sensor, interval - 1, supplied))
            enters.push_back(printed("above %d", up->limit));
    }
    if (interval < highest_interval(sensor)) {
        const auto down = move_down(sensor, interval + 1, supplied);
        if (down && down->to == interval)
            enters.push_back(printed("below %d", down->limit));
    }
    if (const auto down = move_down(sensor, interval, supplied))
        leaves.push_back(limit_text(sensor, "below", *down, interval - 1));
    if (const auto up = move_up(sensor, interval, supplied))
        leaves.push_back(limit_text(sensor, "above", *up, interval + 1));
    return {when, "enter " + joined(enters), leaves.empty() ? "" : "leave " + joined(leaves)};
}

void add_limits(std::string& text, const SensorState& sensor, std::int32_t interval)
{
    const temp_sensor_desc_t& description = *sensor.description;
    if (sensor.by_alarm()) {
        const auto states = states_between(description, interval, interval);
        text += "    " + (states.empty() ? "no state" : "state " + joined(states, " or ")) + "\n";
    } else if (depends_on_supply(description)) {
        text += table({temperature_line(description, interval, true, "with external supply"),
                       temperature_line(description, interval, false, "without it")},
                      "    ");
    } else {
        auto line = temperature_line(description, interval, true, "");
        line.erase(line.begin());
        text += table({line}, "    ");
    }
}

// What is done over one of an interval's boundaries.
void add_actions(std::string& text, const SensorState& sensor, std::int32_t lower, bool up,
                 const char* when)
{
    const ActionRow& action = action_over(*sensor.sensor, lower, up);
    if (!action.parts.empty())
        print_to(text, "    %s: %s (%s)\n", when, joined(parts_in_words(action)).c_str(),
                 action.name);
}

std::string sensor_text(const SensorState& sensor)
{
    const temp_sensor_desc_t& description = *sensor.description;
    std::string text = printed("%s, now in %s\n", sensor.sensor->name,
                               interval_name(description, sensor.interval).c_str());
    for (std::int32_t interval = 0; interval <= highest_interval(description); ++interval) {
        text += "  " + interval_name(description, interval) + "\n";
        add_limits(text, sensor, interval);
        if (interval > 0) {
            add_actions(text, sensor, interval - 1, true, "entered upwards");
            add_actions(text, sensor, interval - 1, false, "left downwards");
        }
    }
    return text;
}

} // namespace

int thresholds(int argc, char** argv)
{
    if (argc > 2)
        return SHELL_USAGE;
    const State state = present_state();
    if (state.model == nullptr)
        return refuse_without_model();
    std::optional<std::size_t> only;
    if (argc == 2) {
        only = find_name(sensor_names(*state.model), argv[1], "sensor");
        if (!only)
            return SHELL_FAILED;
    }
    for (std::size_t i = 0; i < state.sensors.size(); ++i) {
        if (!only || *only == i)
            qv_puts(sensor_text(state.sensors[i]).c_str());
    }
    return SHELL_OK;
}

void offer_sensor(const char* before, shell_offer offer, void* list)
{
    const Model* const model = present_model();
    if (*before != '\0' || model == nullptr)
        return;
    for (const Sensor& sensor : model->sensors)
        offer(list, alias(sensor));
}

} // namespace power_man::insight
