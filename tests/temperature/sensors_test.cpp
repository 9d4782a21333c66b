// SPDX-License-Identifier: MIT
#include "temperature/temp_sensors.h"

#include <gtest/gtest.h>

#include "base/config_keys.h"
#include "base/terminal.h"
#include "support/model_name.h"
#include "support/terminal.h"
#include "temperature/brief.h"
#include "temperature/temp_desc.h"

namespace {

namespace key = power_man::key;

// The sensors that have left their initial state: "SENSOR:INTERVAL/TEMPERATURE".
std::string states()
{
    std::string text;
    for (std::size_t i = 0; i < temp_mon_rec.size(); ++i) {
        const temp_mon_rec_t& now = temp_mon_rec[i];
        if (now.intv != 1 || now.temp != -273)
            text += " " + std::to_string(i) + ":" + std::to_string(now.intv) + "/" +
                    std::to_string(now.temp);
    }
    return text + "\n";
}

// All that any terminal might follow, and keys near to those.
void write_readings(Terminal& terminal, int degrees, int amplifier)
{
    terminal.write({{key::battery_temperature, degrees},
                    {key::mainboard_temperature, degrees},
                    {key::hpa_temperature_state, amplifier}});
}

struct Model {
    const char* platform;
    const char* subscriptions; // written at start
    const char* states;        // after each step
};

class Sensors : public testing::TestWithParam<Model> {};

TEST_P(Sensors, FollowTheKeysOfTheirModel)
{
    Terminal terminal(GetParam().platform);
    terminal.write(key::external_supply, 1);
    write_readings(terminal, 85, 1);
    const std::string start = terminal.start();
    EXPECT_EQ(only(start, {"set ram.status.psumcu.events.subscribe"}), GetParam().subscriptions);

    std::string seen = "start  " + states();
    write_readings(terminal, 20, 3);
    seen += "change " + states();
    const std::string before = states();
    terminal.write({{key::hpa_temperature, 99}, {"ram.status.battery.1.temperature2", 99}});
    terminal.write({{"rmcfg.sys.mainboard", 99}, {"rmcfg.sys.mainboard.temperature.peak", 99}});
    for (const char* const name :
         {key::battery_temperature, key::mainboard_temperature, key::hpa_temperature_state}) {
        terminal.write_text(name, "hot");
        terminal.write_text(name, "2147483648");
        terminal.remove(name);
    }
    EXPECT_EQ(states(), before);
    // The keys are still followed.
    write_readings(terminal, 90, 0);
    seen += "hot    " + states();
    EXPECT_EQ(seen, GetParam().states);
}

constexpr const char* supply_subscription =
    "set ram.status.psumcu.events.subscribe.external_supply.pwr_mgr 1\n";

const Model models[] = {
    {"qv1101A",
     R"(set ram.status.psumcu.events.subscribe.external_supply.pwr_mgr 1
set ram.status.psumcu.events.subscribe.treshold.temperature.pwr_mgr 1
)",
     R"(start   0:4/85
change  0:1/20
hot     0:4/90
)"},
    {"qv1202B", supply_subscription, R"(start   1:4/85 2:2/0
change  1:1/20 2:3/0
hot     1:4/90 2:1/0
)"},
    {"qv1305A", supply_subscription, R"(start   3:2/85
change  3:1/20
hot     3:2/90
)"},
    {"qv1403A", supply_subscription, R"(start   7:3/85
change  7:1/20
hot     7:3/90
)"},
    {"qv2500A", supply_subscription, R"(start   4:2/85
change  4:1/20
hot     4:2/90
)"},
    {"qv1608B", supply_subscription, R"(start   5:2/0 6:4/85
change  5:3/0 6:1/20
hot     5:1/0 6:4/90
)"},
};
INSTANTIATE_TEST_SUITE_P(Models, Sensors, testing::ValuesIn(models), model_name<Model>);

TEST(SensorStart, WithoutReadingsWaitsForThem)
{
    Terminal terminal("qv1202B");
    terminal.write(key::external_supply, 1);
    terminal.remove(key::mainboard_temperature);
    terminal.remove(key::hpa_temperature_state);
    EXPECT_EQ(brief(terminal.start()), "");
    EXPECT_EQ(states(), "\n");
    EXPECT_EQ(brief(terminal.write(key::mainboard_temperature, 71)),
              "+LIMIT_BACKGROUND +USB_EXT +POE");
}

TEST(SensorChange, IsEvaluatedInTheOrderOfTheRecords)
{
    Terminal terminal("qv1608B");
    terminal.write({{key::external_supply, 1},
                    {key::mainboard_temperature, 20},
                    {key::hpa_temperature_state, 0}});
    terminal.start();
    EXPECT_EQ(
        brief(terminal.write({{key::mainboard_temperature, 73}, {key::hpa_temperature_state, 3}})),
        "+LIMIT_BACKGROUND +POE fan255 +CLOSE_CONNECTIONS");
    EXPECT_EQ(
        brief(terminal.write({{key::hpa_temperature_state, 0}, {key::mainboard_temperature, 20}})),
        "-CLOSE_CONNECTIONS -LIMIT_BACKGROUND -POE fan0");
    // Each of two readings of one key counts.
    EXPECT_EQ(
        brief(terminal.write({{key::mainboard_temperature, 73}, {key::mainboard_temperature, 20}})),
        "+LIMIT_BACKGROUND +POE fan255 -LIMIT_BACKGROUND -POE fan0");
}

class UnknownModel : public testing::TestWithParam<const char*> {};

TEST_P(UnknownModel, StartsWithoutSensors)
{
    Terminal terminal("qv1608B");
    if (*GetParam() != '\0')
        terminal.write_text("ram.platform.id", GetParam());
    else
        terminal.remove("ram.platform.id");
    terminal.write({{key::external_supply, 1}, {key::usb_enabled, 1}});
    write_readings(terminal, 85, 1);
    const std::string start = terminal.start();
    EXPECT_EQ(only(start, {"set ram.status.psumcu.events.subscribe", "pin", "raise"}),
              supply_subscription);
    write_readings(terminal, 90, 3);
    EXPECT_EQ(only(terminal.run(60000), {"set ram.status.hpa", "raise"}), "");
    EXPECT_EQ(states(), "\n");
}

// None at all, one that is too long for a model's name, and near misses.
INSTANTIATE_TEST_SUITE_P(Ids, UnknownModel,
                         testing::Values("", "qv1608B0123456789", "qv1608", "QV1608B", "qv1608BX"));

TEST(Identity, IsReadOnceAndAfterFailuresAgain)
{
    Terminal terminal("qv1305A");
    terminal.remove("ram.platform.id");
    EXPECT_STREQ(pwr_mgr_get_platform_id(), "");
    terminal.write_text("ram.platform.id", "123456789012345"); // does not fit into 15 with its NUL
    EXPECT_STREQ(pwr_mgr_get_platform_id(), "");
    EXPECT_EQ(terminal.story(), "log 1 Failed to read config: ram.platform.id\n");
    terminal.write_text("ram.platform.id", "12345678901234");
    EXPECT_STREQ(pwr_mgr_get_platform_id(), "12345678901234");
    terminal.write_text("ram.platform.id", "qv1305A");
    EXPECT_STREQ(pwr_mgr_get_platform_id(), "12345678901234");
    pwr_mgr_reset_platform_id();
    EXPECT_STREQ(pwr_mgr_get_platform_id(), "qv1305A");
    EXPECT_EQ(terminal.story(), "");
}

class Copy : public testing::TestWithParam<Model> {};

TEST_P(Copy, RunsEveryFiveSeconds)
{
    Terminal terminal(GetParam().platform);
    terminal.start();
    terminal.write({{"rmcfg.platform.hpa.temperature", 456},
                    {"rmcfg.platform.hpa.temperature_state", 0},
                    {"rmcfg.platform.acm.temperature", -15},
                    {"rmcfg.platform.acm.temperature_state", 4}});
    const auto copies = [&](unsigned int milliseconds) {
        return only(terminal.run(milliseconds), {"set ram.status.hpa", "set ram.status.acm"});
    };
    EXPECT_EQ(copies(4999), "");
    std::string seen = copies(1);
    // A key that cannot be read skips its own copy only.
    terminal.write_text("rmcfg.platform.hpa.temperature", "warm");
    terminal.remove("rmcfg.platform.acm.temperature");
    seen += "--\n" + copies(5000);
    terminal.write("rmcfg.platform.hpa.temperature", 457);
    terminal.remove("rmcfg.platform.hpa.temperature_state");
    EXPECT_EQ(copies(4999), "");
    seen += "--\n" + copies(1);
    EXPECT_EQ(seen, GetParam().states);
}

constexpr const char* no_copies = "--\n--\n";
const Model copying_models[] = {
    {"qv1101A", "", no_copies},
    {"qv1202B", "", R"(set ram.status.hpa.temperature 456
set ram.status.hpa.temperature_state 0
--
set ram.status.hpa.temperature_state 0
--
set ram.status.hpa.temperature 457
)"},
    {"qv1305A", "", no_copies},
    {"qv1403A", "", no_copies},
    {"qv2500A", "", no_copies},
    {"qv1608B", "", R"(set ram.status.hpa.temperature 456
set ram.status.hpa.temperature_state 0
set ram.status.acm.temperature -15
set ram.status.acm.temperature_state 4
--
set ram.status.hpa.temperature_state 0
set ram.status.acm.temperature_state 4
--
set ram.status.hpa.temperature 457
set ram.status.acm.temperature_state 4
)"},
};
INSTANTIATE_TEST_SUITE_P(Models, Copy, testing::ValuesIn(copying_models), model_name<Model>);

// The way of an amplifier's state through the copy to the action.
TEST(CopyChange, ReachesTheSensor)
{
    Terminal terminal("qv1202B");
    terminal.write({{key::external_supply, 1},
                    {key::mainboard_temperature, 20},
                    {key::hpa_temperature_state, 0}});
    terminal.start();
    terminal.write("rmcfg.platform.hpa.temperature_state", 3);
    EXPECT_EQ(brief(terminal.run(5000)), "+LIMIT_BACKGROUND +CLOSE_CONNECTIONS");
    EXPECT_EQ(brief(terminal.run(60000)), "");
}

} // namespace
