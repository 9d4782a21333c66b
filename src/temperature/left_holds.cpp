// SPDX-License-Identifier: MIT
#include "temperature/left_holds.h"

#include <algorithm>
#include <string>

#include "ap/log.h"
#include "temperature/action_table.h"
#include "temperature/temp_actions.h"
#include "temperature/temp_desc.h"

namespace power_man {
namespace {

// The action with which the model takes this consumer; no_act: it has none, and a mark of that
// kind is somebody else's.
Action taking(const Model& model, ConsumerIndex index)
{
    for (const Sensor& sensor : model.sensors) {
        for (const Interval& interval : sensor.intervals) {
            const ActionRow& row = action_row(interval.up);
            if (row.begins && std::find(row.parts.begin(), row.parts.end(),
                                        static_cast<Effect>(index)) != row.parts.end())
                return interval.up;
        }
    }
    return Action::no_act;
}

bool is_left(const Model& model, const Consumer& consumer)
{
    return taking(model, consumer.index) != Action::no_act && is_left_held(consumer.index);
}

std::string names_of_left(const Model& model)
{
    std::string names;
    for (const Consumer& consumer : consumers) {
        if (is_left(model, consumer))
            names.append(names.empty() ? "" : ", ").append(effects[consumer.index].name);
    }
    return names;
}

bool all_evaluated(const Model& model)
{
    for (std::size_t i = 0; i < model.sensors.size(); ++i) {
        const std::size_t number = sensor_number(model, i);
        if (temp_mon_rec[number].temp == temp_desc[number].init_temp)
            return false;
    }
    return true;
}

} // namespace

bool give_back_left_holds(const Model& model)
{
    static const Model* done = nullptr;
    if (done == &model)
        return true;
    if (!all_evaluated(model))
        return false;
    done = &model;
    if (const std::string names = names_of_left(model); !names.empty())
        qv_slog(5, "Given back, held since before the start: %s\n", names.c_str());
    for (const Consumer& consumer : consumers) {
        if (!is_left(model, consumer))
            continue;
        give_back(consumer.index);
        // The fan that runs with this hold has no mark of its own.
        if (consumer.index == poe && taking(model, poe) == Action::bgr_poe_off)
            fan_off();
    }
    return true;
}

void report_left_holds(const Model& model)
{
    if (const std::string names = names_of_left(model); !names.empty())
        qv_slog(5, "Held since before the start, until every sensor has a reading: %s\n",
                names.c_str());
}

} // namespace power_man
