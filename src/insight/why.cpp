// SPDX-License-Identifier: MIT
// The console's command `why`.
#include <algorithm>
#include <charconv>
#include <cstring>

#include "ap/output.h"
#include "insight/causes.h"
#include "insight/commands.h"
#include "insight/sensor_names.h"
#include "insight/text.h"
#include "insight/thresholds.h"
#include "insight/wording.h"

namespace power_man::insight {
namespace {

Parts parts;

struct Row {
    const char* name;
    std::vector<Explanation> (*explain)(const Inquiry& inquiry, Port port);
    const char* together; // ports of which the same is to be said; null: there are none
};

constexpr Row rows[] = {
    {"usb", explain_usb, nullptr},
    {"extended", explain_extended_usb, nullptr},
    {"poe", explain_poe, "PoE is"},
    {"phone", explain_phones, "Each phone port is"},
    {"isdn", explain_isdn, nullptr},
    {"background", explain_background, nullptr},
    {"connections", explain_connections, nullptr},
};

std::string in_words(const Explanation& thing)
{
    if (thing.causes.empty())
        return printed("%s %s.\n", thing.subject.c_str(), thing.normal);
    std::string text;
    for (const Cause& cause : thing.causes) {
        text += text.empty() ? printed("%s %s", thing.subject.c_str(), thing.affected) : "Also";
        print_to(text, " %s.\n", cause.why.c_str());
        if (!cause.until.empty())
            text += cause.until + "\n";
    }
    return text;
}

std::string in_words(std::vector<Explanation> things, const char* together)
{
    const auto is_as_first = [&things](const Explanation& thing) {
        return thing.causes == things.front().causes;
    };
    if (things.size() > 1 && std::all_of(things.begin(), things.end(), is_as_first)) {
        things.resize(1, {});
        things.front().subject = together;
    }
    std::string text;
    for (const Explanation& thing : things)
        text += in_words(thing);
    return text;
}

std::string sensor_in_words(const SensorState& sensor, bool supplied)
{
    const temp_sensor_desc_t& description = *sensor.description;
    std::string text = printed("The %s is in %s ", sensor.sensor->name,
                               interval_name(description, sensor.interval).c_str());
    const auto crossed =
        sensor.memory != nullptr ? sensor.memory->last_crossed : std::optional<std::size_t>();
    if (crossed) {
        const Crossings& crossing = sensor.memory->boundaries[*crossed];
        print_to(
            text, "since %s, when %s.\n", time_text(crossing.at).c_str(),
            crossing_text(sensor, static_cast<std::int32_t>(*crossed), crossing, "it").c_str());
    } else {
        print_to(text, "since the start, %s.\n", time_text(memory_start()).c_str());
    }
    if (!sensor.by_alarm())
        print_to(text, "It %s.\n", leaves_text(description, sensor.interval, supplied).c_str());
    std::vector<std::string> in_force;
    for (const EffectRow& row : effects) {
        if (sensor.effects.has(row.effect))
            in_force.push_back(printed("%s %s", row.name, row.begun));
    }
    if (!in_force.empty())
        print_to(text, "In force by it: %s.\n", joined(in_force).c_str());
    return text;
}

// All of the rows, and behind them the sensors.
std::vector<Name> all_names(const State& state)
{
    std::vector<Name> names;
    for (const Row& row : rows)
        names.push_back({row.name, names.size()});
    if (state.model != nullptr) {
        for (Name& sensor : sensor_names(*state.model)) {
            sensor.index += std::size(rows);
            names.push_back(std::move(sensor));
        }
    }
    return names;
}

void print(const State& state, std::size_t index, Port port)
{
    std::string text;
    if (index < std::size(rows))
        text = in_words(rows[index].explain({state, parts}, port), rows[index].together);
    else
        text =
            sensor_in_words(state.sensors[index - std::size(rows)], state.supply.value_or(1) != 0);
    qv_puts(text.c_str());
}

int explain_one_port(const State& state, std::size_t index, const char* word)
{
    std::uint32_t port = 0;
    const char* const end = word + std::strlen(word);
    const auto [stop, error] = std::from_chars(word, end, port);
    if (index >= std::size(rows) || rows[index].together == nullptr || error != std::errc{} ||
        stop != end)
        return SHELL_USAGE;
    if (rows[index].explain({state, parts}, port).empty()) {
        qv_printf("%s: no such %s port\n", word, rows[index].name);
        return SHELL_FAILED;
    }
    print(state, index, port);
    return SHELL_OK;
}

} // namespace

void set_parts(const Parts& those)
{
    parts = those;
}

int why(int argc, char** argv)
{
    if (argc > 3)
        return SHELL_USAGE;
    const State state = present_state();
    if (argc == 1) {
        for (std::size_t i = 0; i < std::size(rows) + state.sensors.size(); ++i)
            print(state, i, {});
        return SHELL_OK;
    }
    const auto index = find_name(all_names(state), argv[1], "consumer or sensor");
    if (!index)
        return SHELL_FAILED;
    if (argc == 3)
        return explain_one_port(state, *index, argv[2]);
    print(state, *index, {});
    return SHELL_OK;
}

void offer_why(const char* before, shell_offer offer, void* list)
{
    if (*before != '\0')
        return;
    for (const Row& row : rows)
        offer(list, row.name);
    offer_sensor(before, offer, list);
}

} // namespace power_man::insight
