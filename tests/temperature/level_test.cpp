// SPDX-License-Identifier: MIT
#include "temperature/temp_level.h"

#include <climits>

#include "support/terminal.h"

namespace {

// The numbers that these sensors have always had.
enum : int { battery, radio_module, hpa };

temp_mon_rec_t& record(int sensor)
{
    return temp_mon_rec[static_cast<std::size_t>(sensor)];
}

std::string state(int sensor)
{
    const temp_mon_rec_t& now = record(sensor);
    return "interval " + std::to_string(now.intv) + ", alarm " + std::to_string(now.alarm_id) +
           ", " + std::to_string(now.temp) + " C";
}

TEST(LevelRecord, StaysWhereNothingCanBeDecided)
{
    Terminal terminal("qv1202B");
    terminal.write({{key::external_supply, 1}, {key::hpa_temperature_state, 2}});
    terminal.start();
    record(radio_module).alarm_id = 6;
    temp_action(radio_module, 0, 71);
    // States that no amplifier has.
    std::string story;
    for (const int alarm : {7, -1, 7, INT_MIN, INT_MAX, -1})
        story += terminal.write(key::hpa_temperature_state, alarm);
    EXPECT_EQ(story, R"(log 4 HPA: unknown temperature state 7 is ignored
log 4 HPA: unknown temperature state -1 is ignored
log 4 HPA: unknown temperature state -2147483648 is ignored
log 4 HPA: unknown temperature state 2147483647 is ignored
)");
    story.clear();
    for (int alarm = 8; alarm < 40; ++alarm)
        story += terminal.write(key::hpa_temperature_state, alarm);
    EXPECT_EQ(std::count(story.begin(), story.end(), '\n'), 12) << "16 are remembered";
    // An unknown supply.
    terminal.write_text(key::external_supply, "mains");
    temp_action(radio_module, 0, 90);
    terminal.remove(key::external_supply);
    temp_action(hpa, 3, 0);
    EXPECT_EQ(terminal.story(), "");
    EXPECT_EQ(state(radio_module) + "; " + state(hpa),
              "interval 2, alarm 6, 71 C; interval 2, alarm 2, 0 C");
}

TEST(LevelSupply, IsUnpluggedAndPluggedInAgain)
{
    Terminal terminal("qv1101A");
    terminal.write({{key::external_supply, 1}, {key::battery_temperature, 60}});
    EXPECT_EQ(actions_of(terminal.start()), "");
    EXPECT_EQ(actions_of(terminal.write(key::external_supply, 0)),
              "+USB_EXT +LIMIT_BACKGROUND +CLOSE_CONNECTIONS +CLOSE_TERMINAL reboot");
    EXPECT_EQ(state(battery), "interval 4, alarm 0, 60 C");
    // 60 C is below intervals 4 and 3 of the supplied battery, but not below 2.
    EXPECT_EQ(actions_of(terminal.write(key::external_supply, 1)), "-CLOSE_CONNECTIONS");
    terminal.remove(key::battery_temperature);
    EXPECT_EQ(actions_of(terminal.write(key::external_supply, 0)), "");
    EXPECT_EQ(state(battery), "interval 2, alarm 0, 60 C");
}

} // namespace
