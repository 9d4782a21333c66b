// SPDX-License-Identifier: MIT
#include "temperature/protection.h"

#include "ap/loop.h"
#include "support/manager.h"
#include "support/terminal.h"
#include "temperature/readings.h"

namespace {

TEST(Readings, AreMissedOnceAndWelcomedOnce)
{
    Terminal terminal("qv1202B");
    terminal.remove(key::mainboard_temperature);
    terminal.remove(key::platform_hpa_state); // comes in time
    const auto comes = [](void*) { return config_write_int(key::platform_hpa_state, 0); };
    fdloop_timer_add(main_fdloop, 0, comes, nullptr);
    EXPECT_EQ(
        only(terminal.start(), {"log 4", "log 5"}),
        "log 4 Radio Module: no reading, rmcfg.sys.mainboard.temperature is missing: it stays "
        "in Normal Operation\n");
    EXPECT_EQ(std::string(power_man::sensor_without_reading()->name), "Radio Module");
    std::string story = only(terminal.run(60000), {"log"});
    story += only(terminal.write(key::mainboard_temperature, 71), {"log 5 Radio Module: r"});
    EXPECT_EQ(power_man::sensor_without_reading(), nullptr);
    for (const char* const name :
         {key::platform_hpa_state, key::external_supply, key::mainboard_temperature}) {
        story += only(terminal.write_text(name, "warm"), {"log"});
        story += only(terminal.remove(name), {"log"});
        story += only(terminal.run(7000), {"log"});
    }
    story += only(terminal.write({{key::external_supply, 0},
                                  {key::mainboard_temperature, 71},
                                  {key::platform_hpa_state, 0}}),
                  {"log"});
    story += only(terminal.run(5000), {"log"});
    EXPECT_EQ(story,
              R"(log 5 Radio Module: readings again after 60 s
log 4 HPA: no reading, rmcfg.platform.hpa.temperature_state is missing: it stays in Normal Operation
log 4 External supply unknown, ram.status.psumcu.events.external_supply is no integer: no temperature is evaluated until it is known
log 4 Radio Module: no reading, rmcfg.sys.mainboard.temperature is no integer: it stays in Reduced Performance
log 5 External supply known again after 14 s
log 5 Radio Module: readings again after 7 s
log 5 HPA: readings again after 20 s
)");
}

// As a daemon leaves them that was killed at 85 C.
void leave_marks(Terminal& terminal)
{
    terminal.write({{key::close_connections, 1},
                    {key::limit_background, 1},
                    {"rmcfg.sys.reduce_background_datarate", 1},
                    {key::usb_extended_held, 1},
                    {key::poe_held, 1},
                    {key::power_off, 1},
                    {"ram.fan.set_speed", 255}});
}

Prefixes hold_lines = {"log 5", "raise", "clear", "set ram.status.power", "set ram.fan", "pin 252"};

TEST(LeftHolds, AreGivenBackAfterAColdStart)
{
    Terminal terminal("qv1202B");
    leave_marks(terminal);
    EXPECT_EQ(
        in_words(only(terminal.start(), hold_lines)),
        "252=low log 5 Given back, held since before the start: connections, background "
        "data, extended USB port, PoE close_connections=0 -CLOSE_CONNECTIONS "
        "limit_background=0 -LIMIT_BACKGROUND 252=high usb.extended.pwr_controlled=0 -USB_EXT "
        "lan.poe.pwr_controlled=0 -POE");
    EXPECT_EQ(terminal.value("rmcfg.sys.reduce_background_datarate"), "0");
    EXPECT_EQ(terminal.value(key::power_off), "1") << "the order stands";
    terminal.write(key::limit_background, 1); // whoever does that, later
    EXPECT_EQ(actions_of(terminal.write(key::mainboard_temperature, 20)), "");
}

TEST(LeftHolds, StayWithASensorThatHoldsThem)
{
    Terminal terminal("qv1202B");
    leave_marks(terminal);
    terminal.write(key::mainboard_temperature, 71);
    EXPECT_EQ(actions_of(terminal.start()), "+LIMIT_BACKGROUND +USB_EXT +POE -CLOSE_CONNECTIONS");
    EXPECT_EQ(actions_of(terminal.write(key::mainboard_temperature, 20)),
              "-LIMIT_BACKGROUND -USB_EXT -POE");
}

TEST(LeftHolds, WaitForEverySensor)
{
    Terminal terminal("qv1608B");
    leave_marks(terminal);
    terminal.remove(key::mainboard_temperature);
    // The extended port is none of this model's.
    EXPECT_EQ(only(terminal.start(), {"log 5", "clear"}),
              "log 5 Held since before the start, until every sensor has a reading: "
              "connections, background data, PoE\n");
    EXPECT_EQ(actions_of(terminal.write(key::hpa_temperature_state, 1)), "+LIMIT_BACKGROUND");
    EXPECT_EQ(in_words(only(terminal.write(key::mainboard_temperature, 20), hold_lines)),
              "log 5 Radio Module - Morvin BDU: readings again after 0 s "
              "log 5 Given back, held since before the start: connections, PoE "
              "close_connections=0 -CLOSE_CONNECTIONS lan.poe.pwr_controlled=0 -POE "
              "ram.fan.set_speed=0");
    EXPECT_EQ(terminal.value(key::usb_extended_held), "1");
}

TEST(LeftHolds, WaitForTheOnlySensor)
{
    Terminal terminal("qv1101A");
    terminal.write(key::close_connections, 1);
    terminal.remove(key::battery_temperature);
    terminal.remove(key::external_supply);
    EXPECT_EQ(
        only(terminal.start(), {"log 4 External", "log 5"}),
        "log 4 External supply unknown, ram.status.psumcu.events.external_supply is missing: no "
        "temperature is evaluated until it is known\n"
        "log 5 Held since before the start, until every sensor has a reading: connections\n");
}

TEST(Status, FollowsTheState)
{
    Terminal terminal("qv1202B");
    const Manager manager(terminal.path("/notify"));
    terminal.remove(key::external_supply);
    terminal.start();
    std::string story = manager.heard();
    const auto then = [&](const char* name, const char* value, std::uint64_t milliseconds = 0) {
        terminal.change({{name, *value != 0 ? std::optional<std::string>(value) : std::nullopt}},
                        milliseconds);
        story += manager.heard();
    };
    then(key::external_supply, "1", 60000);
    then(key::mainboard_temperature, "71", 120000);
    then(key::mainboard_temperature, "72");
    then(key::platform_hpa_state, "1", 5000);
    then(key::mainboard_temperature, "20", 1000);
    then(key::mainboard_temperature, "");
    then(key::mainboard_temperature, "21");
    then(key::platform_hpa_state, "0", 5000);
    then(key::platform_hpa_state, "", 5000);
    EXPECT_EQ(story, "READY=1 STATUS=NOT PROTECTED: external supply unknown "
                     "STATUS=protecting qv1202B "
                     "STATUS=qv1202B limited since 2026-01-01 00:01 by Radio Module "
                     "STATUS=qv1202B limited since 2026-01-01 00:01 by Radio Module, HPA "
                     "STATUS=qv1202B limited since 2026-01-01 00:01 by HPA "
                     "STATUS=NOT PROTECTED: no reading of Radio Module "
                     "STATUS=qv1202B limited since 2026-01-01 00:01 by HPA "
                     "STATUS=protecting qv1202B STATUS=NOT PROTECTED: no reading of HPA ");
}

} // namespace
