// SPDX-License-Identifier: MIT
#include "temperature/temp_level.h"

#include <climits>

#include "support/terminal.h"
#include "temperature/sensor_numbers.h"
#include "temperature/temp_desc.h"

namespace {

temp_mon_rec_t& record(int sensor)
{
    return temp_mon_rec[static_cast<std::size_t>(sensor)];
}

// What `value` does to a sensor that is in `from`, which the lowest value after room
// temperature leads to: "VALUE>INTERVAL ACTIONS".
std::string moved(Terminal& terminal, int sensor, int from, int value)
{
    const bool alarms = temp_desc[static_cast<std::size_t>(sensor)].alarm2intv[0] >= 0;
    const auto evaluate = [&](int reading) {
        temp_action(sensor, alarms ? reading : 0, alarms ? 0 : reading);
    };
    int entry = alarms ? 0 : -50;
    do {
        terminal.story(); // the journal is short
        evaluate(alarms ? 0 : 20);
        evaluate(entry);
    } while (record(sensor).intv != from && ++entry <= 110);
    terminal.story();
    evaluate(value);
    const std::string actions = actions_of(terminal.story());
    return std::to_string(value) + ">" + std::to_string(record(sensor).intv) +
           (actions.empty() ? "" : " ") + actions;
}

// Runs a table: each line an interval, then what values do that find the sensor there.
std::string replay(Terminal& terminal, int sensor, const std::string& table)
{
    std::istringstream lines(table);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream cells(line);
        std::string cell;
        std::getline(cells, cell, ':');
        const int interval = std::stoi(cell);
        result += cell;
        for (const char* separator = ": "; std::getline(cells, cell, '|'); separator = " | ")
            result += separator + moved(terminal, sensor, interval, std::stoi(cell));
        result += "\n";
    }
    return result;
}

struct Sensor {
    int number;
    int supplies; // bit 0: without external supply, bit 1: with it
    const char* table;
};

const char* const amplifier_states =
    R"(0: 0>1 | 1>2 +LIMIT_BACKGROUND | 3>3 +LIMIT_BACKGROUND +CLOSE_CONNECTIONS | 4>0 | 5>0 | 6>0
1: 0>1 | 1>2 +LIMIT_BACKGROUND | 2>2 +LIMIT_BACKGROUND | 4>0 | 5>0 | 6>0
1: 3>3 +LIMIT_BACKGROUND +CLOSE_CONNECTIONS
2: 0>1 -LIMIT_BACKGROUND | 1>2 | 2>2 | 3>3 +CLOSE_CONNECTIONS | 4>0 -LIMIT_BACKGROUND
3: 0>1 -CLOSE_CONNECTIONS -LIMIT_BACKGROUND | 1>2 -CLOSE_CONNECTIONS | 3>3
3: 6>0 -CLOSE_CONNECTIONS -LIMIT_BACKGROUND
)";

// Both boundaries of every interval, and jumps. A three-interval sensor has 3 beyond its last.
const Sensor sensors[] = {
    {sensor::battery, 2, R"(0: -300>0 | -20>0 | -19>1
1: -300>0 | -26>0 | -25>1 | 65>1 | 66>2 +USB_EXT +LIMIT_BACKGROUND
2: 59>1 -USB_EXT -LIMIT_BACKGROUND | 60>2 | 69>2 | 70>3 +CLOSE_CONNECTIONS
3: 64>2 -CLOSE_CONNECTIONS | 65>3 | 72>3 | 73>4 +CLOSE_TERMINAL reboot
4: 69>3 | 70>4 | 1000>4 | 64>2 -CLOSE_CONNECTIONS
1: 69>2 +USB_EXT +LIMIT_BACKGROUND | 70>3 +USB_EXT +LIMIT_BACKGROUND +CLOSE_CONNECTIONS
1: 75>4 +USB_EXT +LIMIT_BACKGROUND +CLOSE_CONNECTIONS +CLOSE_TERMINAL reboot
4: 49>1 -CLOSE_CONNECTIONS -USB_EXT -LIMIT_BACKGROUND
4: -26>0 -CLOSE_CONNECTIONS -USB_EXT -LIMIT_BACKGROUND
)"},
    {sensor::battery, 1, R"(0: -20>0 | -19>1
1: -26>0 | -25>1 | 52>1 | 53>2 +USB_EXT +LIMIT_BACKGROUND
2: 49>1 -USB_EXT -LIMIT_BACKGROUND | 50>2 | 55>2 | 56>3 +CLOSE_CONNECTIONS
3: 52>2 -CLOSE_CONNECTIONS | 53>3 | 58>3 | 59>4 +CLOSE_TERMINAL reboot
4: 49>1 -CLOSE_CONNECTIONS -USB_EXT -LIMIT_BACKGROUND | 50>4 | 101>4
)"},
    {sensor::radio_module, 3, R"(0: -20>0 | -19>1
1: -26>0 | -25>1 | 70>1 | 71>2 +LIMIT_BACKGROUND +USB_EXT +POE
2: 64>1 -LIMIT_BACKGROUND -USB_EXT -POE | 65>2 | 75>2 | 76>3 +CLOSE_CONNECTIONS
3: 69>2 -CLOSE_CONNECTIONS | 70>3 | 80>3 | 81>4 +CLOSE_TERMINAL reboot
4: 59>1 -CLOSE_CONNECTIONS -LIMIT_BACKGROUND -USB_EXT -POE | 60>4 | 101>4
)"},
    {sensor::bdu, 3, R"(0: -20>0 | -19>1
1: -26>0 | -25>1 | 72>1 | 73>2 +LIMIT_BACKGROUND +POE ram.fan.set_speed=255
2: 66>1 -LIMIT_BACKGROUND -POE ram.fan.set_speed=0 | 67>2 | 75>2 | 76>3 +CLOSE_CONNECTIONS
3: 69>2 -CLOSE_CONNECTIONS | 70>3 | 80>3 | 81>4 +CLOSE_TERMINAL reboot
4: 59>1 -CLOSE_CONNECTIONS -LIMIT_BACKGROUND -POE ram.fan.set_speed=0 | 60>4 | 101>4
)"},
    {sensor::v640, 3, R"(0: -20>0 | -19>1 | 101>3 +CLOSE_TERMINAL reboot
1: -26>0 | -25>1 | 83>1 | 84>2 +CLOSE_TERMINAL reboot
2: 59>1 | 60>2 | 100>2 | 101>3
3: 101>3 | 1000>3 | 100>2 | 60>2 | 59>1 | -26>0
)"},
    {sensor::v150, 3,
     R"(0: -38>0 | -37>1 -TEMP_LOW | 84>2 -TEMP_LOW +CLOSE_TERMINAL reboot
1: -41>0 +TEMP_LOW | -40>1 | 83>1 | 84>2 +CLOSE_TERMINAL reboot
2: 59>1 | 60>2 | 100>2 | 101>3
3: 101>3 | 100>2 | 59>1 | -41>0 +TEMP_LOW
)"},
    {sensor::v360, 3, R"(0: -20>0 | -19>1
1: -26>0 | -25>1 | 70>1 | 71>2 +WARN | 76>3 +WARN +CLOSE_TERMINAL shutdown
2: 69>1 -WARN | 70>2 | 75>2 | 76>3 +CLOSE_TERMINAL shutdown
3: 76>3 | 75>2 | 70>2 | 69>1 -WARN
)"},
    {sensor::hpa, 3, amplifier_states},
    {sensor::hpa_adu, 3, amplifier_states},
};
TEST(Level, MovesAtItsBoundariesOnly)
{
    Terminal terminal("qv2500A");
    terminal.start();
    for (const Sensor& sensor : sensors) {
        for (const int supply : {0, 1}) {
            terminal.write(key::external_supply, supply);
            if ((sensor.supplies & (1 << supply)) == 0)
                continue;
            EXPECT_EQ(replay(terminal, sensor.number, sensor.table), sensor.table)
                << "sensor " << sensor.number << " with supply " << supply;
            temp_action(sensor.number, 0, 20); // back to interval 1: nothing is held
        }
    }
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
    record(sensor::radio_module).alarm_id = 6;
    temp_action(sensor::radio_module, 0, 71);
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
    temp_action(sensor::radio_module, 0, 90);
    terminal.remove(key::external_supply);
    temp_action(sensor::hpa, 3, 0);
    EXPECT_EQ(terminal.story(), "");
    EXPECT_EQ(state(sensor::radio_module) + "; " + state(sensor::hpa),
              "interval 2, alarm 6, 71 C; interval 2, alarm 2, 0 C");
}

TEST(LevelSupply, IsUnpluggedAndPluggedInAgain)
{
    Terminal terminal("qv1101A");
    terminal.write({{key::external_supply, 1}, {key::battery_temperature, 60}});
    EXPECT_EQ(actions_of(terminal.start()), "");
    EXPECT_EQ(actions_of(terminal.write(key::external_supply, 0)),
              "+USB_EXT +LIMIT_BACKGROUND +CLOSE_CONNECTIONS +CLOSE_TERMINAL reboot");
    EXPECT_EQ(state(sensor::battery), "interval 4, alarm 0, 60 C");
    // 60 C is below intervals 4 and 3 of the supplied battery, but not below 2.
    EXPECT_EQ(actions_of(terminal.write(key::external_supply, 1)), "-CLOSE_CONNECTIONS");
    terminal.remove(key::battery_temperature);
    EXPECT_EQ(actions_of(terminal.write(key::external_supply, 0)), "");
    EXPECT_EQ(state(sensor::battery), "interval 2, alarm 0, 60 C");
}

} // namespace
