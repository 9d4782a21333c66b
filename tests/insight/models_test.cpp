// SPDX-License-Identifier: MIT
// What is derived, on every model, against what has really been done.
#include <random>

#include "insight/command.h"
#include "insight/sensor_names.h"
#include "insight/state.h"
#include "models/models.h"
#include "temperature/temp_level.h"

namespace {

using namespace power_man;
using namespace power_man::insight;

class Models : public testing::TestWithParam<const char*> {};

std::string random_reading(std::mt19937& random, const Sensor& sensor)
{
    return std::to_string(decides_by_alarm(sensor) ? static_cast<int>(random() % alarm_count)
                                                   : static_cast<int>(random() % 160) - 50);
}

// Keys of consumers that are marked as held, and of those that some sensor is said to hold.
std::pair<std::string, std::string> held(const Terminal& terminal)
{
    std::pair<std::string, std::string> keys;
    const State state = present_state();
    for (std::size_t i = 0; i < consumer_count; ++i) {
        if (terminal.value(consumers[i].key) == "1")
            keys.first += std::string(effects[i].name) + ";";
        for (const EffectState& effect : state.effects) {
            if (effect.effect == static_cast<Effect>(i) && !effect.holders.empty())
                keys.second += std::string(effects[i].name) + ";";
        }
    }
    return keys;
}

// What whatif says comes true, and asking does nothing: the interval reached, and each effect that
// begins or ends. Who holds what is in the marks.
TEST_P(Models, ForetellWhatIsDone)
{
    Terminal terminal(GetParam());
    terminal.start();
    const power_man::Model& model = *current_model();
    std::mt19937 random(3);
    std::string asked;
    for (int i = 0; i < 300; ++i) {
        const std::size_t index = random() % model.sensors.size();
        const Sensor& sensor = model.sensors[index];
        const std::string reading = random_reading(random, sensor);
        const int supply = static_cast<int>(random() % 2);
        asked = command("whatif " + std::string(alias(sensor)) + " " + reading + " supply " +
                        (supply != 0 ? "on" : "off"));
        ASSERT_EQ(terminal.story(), "") << asked;
        const State before = present_state();
        terminal.change({{key::external_supply, std::to_string(supply)}});
        terminal.story();
        if (present_state().sensors[index].interval != before.sensors[index].interval)
            continue; // the supply alone has moved it
        terminal.change({{before.sensors[index].source, reading}});
        const State after = present_state();
        const SensorState& now = after.sensors[index];
        const std::string name = interval_name(*now.description, now.interval);
        const std::size_t last = asked.rfind(" -> ");
        const bool stays = now.interval == before.sensors[index].interval;
        const std::string place =
            stays ? asked.substr(asked.rfind("stays in ") + 9) : asked.substr(last + 4);
        ASSERT_EQ(place.substr(0, name.size() + 1), name + (stays ? ";" : "\n")) << asked;
        const auto [keys, derived] = held(terminal);
        ASSERT_EQ(keys, derived) << asked;
        for (std::size_t k = 0; k < effect_count - 2; ++k) { // a terminal's end is never undone
            const auto effect = static_cast<Effect>(k);
            const bool changes =
                now.effects.has(effect) != before.sensors[index].effects.has(effect);
            const std::string named = std::string("    ") + effects[k].name + " ";
            ASSERT_TRUE(!changes || asked.find(named) != std::string::npos) << named << asked;
        }
    }
}
INSTANTIATE_TEST_SUITE_P(All, Models,
                         testing::Values("qv1101A", "qv1202B", "qv1305A", "qv1403A", "qv1608B",
                                         "qv2500A"),
                         [](const auto& model) { return std::string(model.param); });

} // namespace
