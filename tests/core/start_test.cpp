// SPDX-License-Identifier: MIT
// The start-up, its default settings, and the settings' way to their devices.

#include "core/config_defaults.h"
#include "support/manager.h"
#include "support/terminal.h"

namespace {

class Start : public testing::TestWithParam<Model> {};

// The amplifier and the battery are hot when the daemon starts: what it then takes away comes
// after the events are known, and before the user's settings are applied.
TEST_P(Start, HasItsOrder)
{
    Terminal terminal(GetParam().platform);
    const Manager manager(terminal.path("/notify"));
    terminal.write({{key::external_supply, 1},
                    {key::mainboard_temperature, 20},
                    {key::battery_temperature, 66},
                    {key::hpa_temperature_state, 3},
                    {"ram.platform.capabilities.usb", 1},
                    {key::usb_enabled, 1},
                    {key::usb_extended, 1},
                    {key::usb_status, 0},
                    {key::isdn_enabled, 1}});
    EXPECT_EQ(in_words(only(terminal.start(),
                            {"signal event_handler", "set ram.status.psumcu", "raise", "pin 52",
                             "pin 53", "pin 252", "pin 80", "pin 81",
                             "set ram.status.interfaces.usb", "set ram.status.interfaces.isdn"})),
              std::string("signal event_handler.registerEventDefinition 9 definitions "
                          "signal event_handler.registerEventDefinition 1 definitions "
                          "psumcu.events.subscribe.external_supply.pwr_mgr=1 ") +
                  GetParam().story);
    terminal.run(30000);
    EXPECT_EQ(manager.heard(), GetParam().more);
}

const Model models[] = {
    {"qv1101A",
     "psumcu.events.subscribe.treshold.temperature.pwr_mgr=1 52=low 53=low "
     "usb.extended_host_interface=0 +USB_EXT +LIMIT_BACKGROUND 53=low 52=high "
     "usb.enabled=1 isdn.enabled=1 usb.extended_host_interface=1",
     "READY=1 STATUS=qv1101A limited since 2026-01-01 00:00 by Battery "},
    {"qv1608B",
     "+LIMIT_BACKGROUND +CLOSE_CONNECTIONS 80=low 81=in usb.enabled=1 "
     "usb.extended_host_interface=1 isdn.enabled=1 usb.extended_host_interface=1",
     "WATCHDOG_USEC=60000000 READY=1 STATUS=qv1608B limited since 2026-01-01 00:00 by HPA - Morvin "
     "ADU STATUS=protecting qv1608B WATCHDOG=1 "},
};
INSTANTIATE_TEST_SUITE_P(Models, Start, testing::ValuesIn(models), model_name);

TEST(StartWithoutReadableSettings, SkipsTheirStepsAlone)
{
    Terminal terminal("qv1305A");
    terminal.write_text(key::usb_enabled, "yes");
    terminal.write_text(key::isdn_enabled, "yes");
    terminal.write(key::usb_extended, 7);
    EXPECT_EQ(only(terminal.start(), {"pin", "set ram.status.interfaces.usb", "file /sys"}),
              "set ram.status.interfaces.usb.extended_host_interface 7\n");
    // The settings are followed all the same.
    constexpr const char* story =
        "usb.enabled=1 => 52=high usb.enabled=1 usb.extended_host_interface=7\n";
    EXPECT_EQ(played(terminal, story, {"pin 52", "set ram.status.interfaces.usb"}), story);
}

TEST(ConfigDispatch, AppliesEachSettingInTheOrderWritten)
{
    Terminal terminal("qv1608B");
    terminal.write({{"ram.platform.capabilities.usb", 1}, {key::usb_extended, 1}});
    terminal.start();
    constexpr const char* story =
        R"(usb.enabled=0 isdn.enabled=1 => 80=high usb.enabled=0 usb.extended_host_interface=1 isdnpwr=1 isdn.enabled=1
usb.extended_host_interface=7 => 80=high 80=high usb.enabled=0 usb.extended_host_interface=7
usb.enabled= isdn.enabled=1x usb.enabled.more=1 =>
)";
    EXPECT_EQ(played(terminal, story), story);
}

TEST(ConfigDefaults, MissingKeysGetTheirsInOrder)
{
    Terminal terminal("qv1202B");
    for (const char* const name : {key::usb_enabled, key::usb_extended, key::isdn_enabled,
                                   key::hpa_temperature, key::hpa_temperature_state})
        terminal.remove(name);
    pwr_mgr_poe->init(nullptr);
    pwr_mgr_phone->init();
    const auto defaults = [&] {
        terminal.story();
        pwr_man_create_config_default();
        return in_words(terminal.story());
    };
    EXPECT_EQ(defaults(),
              "cfg.interfaces.usb.enabled=1 cfg.interfaces.usb.extended_host_interface=0 "
              "cfg.interfaces.lan.0.poe.enabled=0 cfg.interfaces.lan.1.poe.enabled=0 "
              "lan.poe.pwr_controlled=0 cfg.interfaces.phone.1.enabled=0 "
              "cfg.interfaces.phone.2.enabled=0 cfg.interfaces.isdn.enabled=0 hpa.temperature=20 "
              "hpa.temperature_state=0 usb.extended.pwr_controlled=0 close_connections=0 "
              "limit_background=0");
    EXPECT_EQ(defaults(), "") << "what is set stays";
    for (const auto& [capability, usb] : {std::pair{0, "0"}, {5, "1"}}) {
        terminal.remove(key::usb_enabled);
        terminal.write("ram.platform.capabilities.usb.default_enable", capability);
        EXPECT_EQ(defaults(), std::string("cfg.interfaces.usb.enabled=") + usb);
    }
    // Without ports the hold still gets its own.
    terminal.write("ram.platform.capabilities.ether.poe.num_ports", -1);
    terminal.remove("cfg.interfaces.lan.1.poe.enabled");
    terminal.remove(PwrMgrPoe::RAM_STATUS_PWR_MGR_LAN_POE);
    PwrMgrPoe unconfigured;
    unconfigured.init(nullptr);
    terminal.story();
    unconfigured.createConfigDefaults();
    EXPECT_EQ(in_words(terminal.story()), "lan.poe.pwr_controlled=0");
}

} // namespace
