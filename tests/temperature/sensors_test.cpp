// SPDX-License-Identifier: MIT
#include "temperature/temp_sensors.h"

#include "support/terminal.h"
#include "temperature/temp_desc.h"

namespace {

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
    return text;
}

// All that any terminal might follow.
void write_readings(Terminal& terminal, int degrees, int amplifier)
{
    terminal.write({{key::battery_temperature, degrees},
                    {key::mainboard_temperature, degrees},
                    {key::hpa_temperature_state, amplifier}});
}

class Sensors : public testing::TestWithParam<Model> {};

TEST_P(Sensors, FollowAndCopyTheKeysOfTheirModel)
{
    Terminal terminal(GetParam().platform);
    terminal.write(key::external_supply, 1);
    write_readings(terminal, 85, 1);
    terminal.start();
    std::string seen = "85 C:" + states();
    write_readings(terminal, 20, 3);
    const std::string cool = states();
    terminal.write({{key::hpa_temperature, 99}, {"ram.status.battery.1.temperature2", 99}});
    terminal.write({{"rmcfg.sys.mainboard", 99}, {"rmcfg.sys.mainboard.temperature.peak", 99}});
    for (const char* const name :
         {key::battery_temperature, key::mainboard_temperature, key::hpa_temperature_state}) {
        terminal.write_text(name, "hot");
        terminal.remove(name);
    }
    EXPECT_EQ(states(), cool);
    write_readings(terminal, 90, 0); // they are still followed
    EXPECT_EQ(seen + ", 20 C:" + cool + ", 90 C:" + states(), GetParam().story);

    terminal.write({{"rmcfg.platform.hpa.temperature", 456},
                    {"rmcfg.platform.hpa.temperature_state", 0},
                    {"rmcfg.platform.acm.temperature", -15},
                    {"rmcfg.platform.acm.temperature_state", 4}});
    const auto copies = [&](unsigned int milliseconds) {
        return in_words(
            only(terminal.run(milliseconds), {"set ram.status.hpa", "set ram.status.acm"}));
    };
    EXPECT_EQ(copies(4999), "");
    seen = copies(1);
    // A key that cannot be read skips its own copy only.
    terminal.write_text("rmcfg.platform.hpa.temperature", "warm");
    terminal.remove("rmcfg.platform.acm.temperature");
    seen += "\n" + copies(5000) + "\n";
    terminal.write("rmcfg.platform.hpa.temperature", 457);
    terminal.remove("rmcfg.platform.hpa.temperature_state");
    EXPECT_EQ(seen + copies(5000), GetParam().more);
}

// The records after each step, and the copies of three periods.
const Model models[] = {
    {"qv1101A", "85 C: 0:4/85, 20 C: 0:1/20, 90 C: 0:4/90", "\n\n"},
    {"qv1202B", "85 C: 1:4/85 2:2/0, 20 C: 1:1/20 2:3/0, 90 C: 1:4/90 2:1/0",
     "hpa.temperature=456 hpa.temperature_state=0\n"
     "hpa.temperature_state=0\n"
     "hpa.temperature=457"},
    {"qv1305A", "85 C: 3:2/85, 20 C: 3:1/20, 90 C: 3:2/90", "\n\n"},
    {"qv1403A", "85 C: 7:3/85, 20 C: 7:1/20, 90 C: 7:3/90", "\n\n"},
    {"qv2500A", "85 C: 4:2/85, 20 C: 4:1/20, 90 C: 4:2/90", "\n\n"},
    {"qv1608B", "85 C: 5:2/0 6:4/85, 20 C: 5:3/0 6:1/20, 90 C: 5:1/0 6:4/90",
     "hpa.temperature=456 hpa.temperature_state=0 acm.temperature=-15 acm.temperature_state=4\n"
     "hpa.temperature_state=0 acm.temperature_state=4\n"
     "hpa.temperature=457 acm.temperature_state=4"},
};
INSTANTIATE_TEST_SUITE_P(Models, Sensors, testing::ValuesIn(models), model_name);

TEST(SensorChange, IsEvaluatedInTheOrderOfTheRecords)
{
    Terminal terminal("qv1608B");
    terminal.write(key::external_supply, 1);
    terminal.remove(key::mainboard_temperature);
    EXPECT_EQ(actions_of(terminal.start()), "");
    EXPECT_EQ(states(), " 5:1/0"); // the amplifier has a default, the module waits
    EXPECT_EQ(actions_of(terminal.write(
                  {{key::mainboard_temperature, 73}, {key::hpa_temperature_state, 3}})),
              "+LIMIT_BACKGROUND +POE ram.fan.set_speed=255 +CLOSE_CONNECTIONS");
    EXPECT_EQ(actions_of(terminal.write(
                  {{key::hpa_temperature_state, 0}, {key::mainboard_temperature, 20}})),
              "-CLOSE_CONNECTIONS -LIMIT_BACKGROUND -POE ram.fan.set_speed=0");
    // Each of two readings of one key counts.
    EXPECT_EQ(actions_of(terminal.write(
                  {{key::hpa_temperature_state, 1}, {key::hpa_temperature_state, 0}})),
              "+LIMIT_BACKGROUND -LIMIT_BACKGROUND");
    // The amplifier's state by way of its copy.
    terminal.write("rmcfg.platform.hpa.temperature_state", 3);
    EXPECT_EQ(actions_of(terminal.run(30000)), "+LIMIT_BACKGROUND +CLOSE_CONNECTIONS");
}

TEST(UnknownModel, StartsWithoutSensors)
{
    Terminal terminal("qv1608B");
    // No model at all, one that is too long, and two near misses.
    const std::pair<const char*, std::string> ids[] = {{"", ""},
                                                       {"qv1608B0123456789", ""},
                                                       {"QV1608B", "QV1608B"},
                                                       {"qv1608B\x7f%s", "qv1608B?%s"}};
    for (const auto& [id, shown] : ids) {
        terminal.change({{"ram.platform.id", *id != 0 ? std::optional(id) : std::nullopt}});
        pwr_mgr_reset_platform_id();
        terminal.write({{key::external_supply, 1}, {key::usb_enabled, 1}});
        write_readings(terminal, 85, 1);
        EXPECT_EQ(
            in_words(only(terminal.start(), {"set ram.status.psumcu.events.subscribe", "pin",
                                             "raise", "log 1 No such", "log 3 Failed to set usb",
                                             "set ram.status.interfaces.usb.en"})),
            "psumcu.events.subscribe.external_supply.pwr_mgr=1 " +
                (shown.empty() ? ""
                               : "log 1 No such model: " + shown +
                                     "; the terminal is NOT protected from heat ") +
                "log 3 Failed to set usb power: unknown platform [" + shown + "] usb.enabled=1");
        write_readings(terminal, 90, 3);
        EXPECT_EQ(only(terminal.run(10000), {"set ram.status.hpa", "raise"}), "");
        EXPECT_EQ(states(), "");
    }
}

TEST(Identity, IsReadOnceAndAfterFailuresAgain)
{
    Terminal terminal("qv1305A");
    terminal.write_text("ram.platform.id", "123456789012345"); // one too long with its NUL
    for (int i = 0; i < 2; ++i)
        EXPECT_STREQ(pwr_mgr_get_platform_id(), "");
    EXPECT_EQ(terminal.story(), "log 1 Failed to read config: ram.platform.id\n"
                                "log 1 Failed to read config: ram.platform.id\n");
    terminal.write_text("ram.platform.id", "12345678901234");
    EXPECT_STREQ(pwr_mgr_get_platform_id(), "12345678901234");
    terminal.write_text("ram.platform.id", "qv1305A");
    EXPECT_STREQ(pwr_mgr_get_platform_id(), "12345678901234");
    pwr_mgr_reset_platform_id();
    EXPECT_STREQ(pwr_mgr_get_platform_id(), "qv1305A");
    EXPECT_EQ(terminal.story(), "");
}

} // namespace
