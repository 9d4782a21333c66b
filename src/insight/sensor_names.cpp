// SPDX-License-Identifier: MIT
#include "insight/sensor_names.h"

#include <cstring>

#include "ap/output.h"
#include "base/config_keys.h"
#include "insight/text.h"

namespace power_man::insight {

const char* alias(const Sensor& sensor)
{
    const auto is = [&sensor](const char* name) { return std::strcmp(sensor.key, name) == 0; };
    if (is(key::mainboard_temperature))
        return "mainboard";
    if (is(key::hpa_temperature))
        return "hpa";
    return is(key::battery_temperature) ? "battery" : sensor.name;
}

std::optional<std::size_t> find_name(std::span<const Name> names, std::string_view word,
                                     const char* kind)
{
    std::vector<std::string> all;
    std::vector<std::string> fitting;
    std::optional<std::size_t> found;
    bool several = false;
    for (const Name& name : names) {
        if (equals(name.text, word))
            return name.index;
        all.push_back(name.text);
        if (!begins_with(name.text, word))
            continue;
        fitting.push_back(name.text);
        several |= found && *found != name.index;
        found = name.index;
    }
    if (found && !several)
        return found;
    const int length = static_cast<int>(word.size());
    if (several)
        qv_printf("%.*s: begins several: %s\n", length, word.data(), joined(fitting).c_str());
    else
        qv_printf("%.*s: no such %s; there are: %s\n", length, word.data(), kind,
                  joined(all).c_str());
    return std::nullopt;
}

std::vector<Name> sensor_names(const Model& model)
{
    std::vector<Name> names;
    for (std::size_t i = 0; i < model.sensors.size(); ++i) {
        names.push_back({alias(model.sensors[i]), i});
        if (!equals(names.back().text, model.sensors[i].name))
            names.push_back({model.sensors[i].name, i});
    }
    return names;
}

} // namespace power_man::insight
