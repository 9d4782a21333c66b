// SPDX-License-Identifier: MIT
#include "insight/wording.h"

#include "ap/output.h"
#include "ap/shell.h"
#include "insight/text.h"
#include "insight/thresholds.h"

namespace power_man::insight {

std::vector<std::string> parts_in_words(const ActionRow& action)
{
    std::vector<std::string> words;
    for (const Effect part : action.parts) {
        const EffectRow& row = effects[static_cast<std::size_t>(part)];
        words.push_back(printed("%s %s", row.name, action.begins ? row.begun : row.ended));
    }
    return words;
}

std::string with_article(const SensorState& sensor)
{
    return std::string("the ") + sensor.sensor->name;
}

std::string crossing_text(const SensorState& sensor, std::int32_t lower, const Crossings& crossing,
                          const std::string& who)
{
    if (sensor.by_alarm())
        return who + " reported state " + alarm_text(crossing.reading);
    const temp_sensor_desc_t& description = *sensor.description;
    const auto move = crossing.up ? move_up(description, lower, crossing.supplied)
                                  : move_down(description, lower + 1, crossing.supplied);
    std::string text = who;
    print_to(text, " %s to %d C", crossing.up ? "rose" : "fell", crossing.reading);
    if (move)
        print_to(text, " (%s %d)", crossing.up ? "above" : "below", move->limit);
    return text;
}

std::string return_text(const SensorState& sensor, std::int32_t lower, bool supplied)
{
    const char* const name = sensor.sensor->name;
    const temp_sensor_desc_t& description = *sensor.description;
    if (sensor.by_alarm())
        return printed("the %s reports state %s", name,
                       joined(states_between(description, 0, lower), " or ").c_str());
    const auto limit = limit_down_to(description, sensor.interval, lower, supplied);
    return limit ? printed("the %s falls below %d C", name, *limit)
                 : printed("the %s cools down", name);
}

int refuse_without_model()
{
    qv_printf("No sensors: %s\n", unknown_model_text().c_str());
    return SHELL_FAILED;
}

} // namespace power_man::insight
