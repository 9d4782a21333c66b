// SPDX-License-Identifier: MIT
// The console's command `whatif`: the evaluation of a reading that has not come, and the actions
// that would follow, without any of them.
#include <charconv>
#include <cstring>

#include "ap/output.h"
#include "insight/commands.h"
#include "insight/sensor_names.h"
#include "insight/state.h"
#include "insight/text.h"
#include "insight/wording.h"
#include "temperature/temp_level.h"

namespace power_man::insight {
namespace {

struct Question {
    const SensorState* sensor;
    std::int32_t reading; // degrees or, of an amplifier, its state
    bool supplied;
};

std::optional<std::int32_t> parse_number(std::string_view text)
{
    std::int32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc{} && stop == end ? std::optional(number) : std::nullopt;
}

std::optional<std::int32_t> parse_reading(const SensorState& sensor, const char* word)
{
    const auto number = parse_number(word);
    if (!sensor.by_alarm()) {
        if (!number)
            qv_printf("%s: no number of degrees Celsius\n", word);
        return number;
    }
    if (number && *number >= 0 && *number < static_cast<std::int32_t>(temp_alarm_count))
        return number;
    std::vector<Name> names;
    for (std::size_t i = 0; i < temp_alarm_count; ++i)
        names.push_back({temp_state_text[i], i});
    const auto found = find_name(names, word, "state");
    return found ? std::optional(static_cast<std::int32_t>(*found)) : std::nullopt;
}

// The other sensors that hold the consumer now.
std::vector<const Sensor*> other_holders(const State& state, const SensorState& sensor,
                                         Effect effect)
{
    std::vector<const Sensor*> others;
    for (const SensorState& other : state.sensors) {
        if (&other != &sensor && is_hold(effect) && other.effects.has(effect))
            others.push_back(other.sensor);
    }
    return others;
}

void add_action(std::string& text, const State& state, const SensorState& sensor,
                const ActionRow& action)
{
    for (const Effect part : action.parts) {
        const EffectRow& row = effects[static_cast<std::size_t>(part)];
        const auto others = other_holders(state, sensor, part);
        if (others.empty())
            print_to(text, "    %s %s\n", row.name, action.begins ? row.begun : row.ended);
        else
            print_to(text, "    %s still %s, held by %s\n", row.name, row.begun,
                     joined(names(others), " and ").c_str());
    }
    if (action.parts.empty())
        text += "    nothing\n";
}

std::string answer(const State& state, const Question& question)
{
    const SensorState& sensor = *question.sensor;
    const temp_sensor_desc_t& description = *sensor.description;
    const std::int32_t from = sensor.interval;
    const std::int32_t to =
        next_interval(description, from, sensor.by_alarm() ? question.reading : 0,
                      sensor.by_alarm() ? 0 : question.reading, question.supplied);
    std::string text = printed("%s at %s, %s external supply\n", sensor.sensor->name,
                               reading_text(*sensor.sensor, question.reading).c_str(),
                               question.supplied ? "with" : "without");
    if (from == to)
        return text + "  stays in " + interval_name(description, from) + "; nothing is done\n";
    for_each_boundary(from, to, [&](std::int32_t lower, bool up) {
        print_to(text, "  %s -> %s\n", interval_name(description, up ? lower : lower + 1).c_str(),
                 interval_name(description, up ? lower + 1 : lower).c_str());
        add_action(text, state, sensor, action_over(*sensor.sensor, lower, up));
    });
    return text + "(a question only: nothing has been done)\n";
}

std::optional<bool> parse_supply(const State& state, int argc, char** argv)
{
    if (argc == 5)
        return std::strcmp(argv[4], "on") == 0;
    if (!state.supply) {
        qv_puts("The supply is unknown, so nothing would be evaluated; add: supply on, or supply "
                "off\n");
        return std::nullopt;
    }
    return *state.supply != 0;
}

bool is_well_formed(int argc, char** argv)
{
    if (argc != 3 && argc != 5)
        return false;
    return argc == 3 || (std::strcmp(argv[3], "supply") == 0 &&
                         (std::strcmp(argv[4], "on") == 0 || std::strcmp(argv[4], "off") == 0));
}

} // namespace

int whatif(int argc, char** argv)
{
    if (!is_well_formed(argc, argv))
        return SHELL_USAGE;
    const State state = present_state();
    if (state.model == nullptr)
        return refuse_without_model();
    const auto index = find_name(sensor_names(*state.model), argv[1], "sensor");
    if (!index)
        return SHELL_FAILED;
    const SensorState& sensor = state.sensors[*index];
    const auto reading = parse_reading(sensor, argv[2]);
    const auto supplied = reading ? parse_supply(state, argc, argv) : std::nullopt;
    if (!supplied)
        return SHELL_FAILED;
    qv_puts(answer(state, {&sensor, *reading, *supplied}).c_str());
    return SHELL_OK;
}

void offer_whatif(const char* before, shell_offer offer, void* list)
{
    const std::size_t words = count_words(before);
    if (words == 0) {
        offer_sensor("", offer, list);
    } else if (words == 2) {
        offer(list, "supply");
    } else if (words == 3) {
        offer(list, "on");
        offer(list, "off");
    }
}

} // namespace power_man::insight
