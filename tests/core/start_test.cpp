// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "base/config_keys.h"
#include "support/model_name.h"
#include "support/terminal.h"

namespace {

namespace key = power_man::key;

struct Model {
    const char* platform;
    const char* story;
};

class Start : public testing::TestWithParam<Model> {};

// The amplifier and the battery are hot when the daemon starts: what it then takes away comes
// after the events are known, and before the user's settings are applied.
TEST_P(Start, HasItsOrder)
{
    Terminal terminal(GetParam().platform);
    terminal.write({{key::external_supply, 1},
                    {key::mainboard_temperature, 20},
                    {key::battery_temperature, 66},
                    {key::hpa_temperature_state, 3},
                    {"ram.platform.capabilities.usb", 1},
                    {key::usb_enabled, 1},
                    {key::usb_extended, 1},
                    {key::usb_status, 0}});
    EXPECT_EQ(in_words(only(terminal.start(), {"set txt.evh.stxt.66057", "set txt.evh.stxt.66560",
                                               "signal event_handler", "set ram.status.psumcu",
                                               "raise", "pin 52", "pin 53", "pin 252", "pin 80",
                                               "pin 81", "set ram.status.interfaces.usb"})),
              std::string("txt.evh.stxt.66057=EV_AP_HIGH_TEMP_WARN "
                          "signal event_handler.registerEventDefinition 9 definitions "
                          "txt.evh.stxt.66560=USB short circuit "
                          "signal event_handler.registerEventDefinition 1 definitions "
                          "psumcu.events.subscribe.external_supply.pwr_mgr=1 ") +
                  GetParam().story);
}

const Model models[] = {
    {"qv1101A", "psumcu.events.subscribe.treshold.temperature.pwr_mgr=1 52=low 53=low "
                "usb.extended_host_interface=0 +USB_EXT +LIMIT_BACKGROUND 53=low 52=high "
                "usb.enabled=1 usb.extended_host_interface=1"},
    {"qv1202B", "+LIMIT_BACKGROUND +CLOSE_CONNECTIONS 252=high usb.enabled=1 "
                "usb.extended_host_interface=1 usb.extended_host_interface=1"},
    {"qv1608B", "+LIMIT_BACKGROUND +CLOSE_CONNECTIONS 80=low 81=in usb.enabled=1 "
                "usb.extended_host_interface=1 usb.extended_host_interface=1"},
};
INSTANTIATE_TEST_SUITE_P(Models, Start, testing::ValuesIn(models), model_name<Model>);

TEST(StartWithoutReadableSettings, SkipsTheirStepsAlone)
{
    Terminal terminal("qv1305A");
    terminal.write_text(key::usb_enabled, "yes");
    terminal.write_text(key::isdn_enabled, "yes");
    terminal.write(key::usb_extended, 7);
    EXPECT_EQ(only(terminal.start(), {"pin", "set ram.status.interfaces.usb", "file /sys"}),
              "set ram.status.interfaces.usb.extended_host_interface 7\n");
    // The settings are followed all the same.
    EXPECT_EQ(in_words(only(terminal.write(key::usb_enabled, 1),
                            {"pin 52", "set ram.status.interfaces.usb"})),
              "52=high usb.enabled=1 usb.extended_host_interface=7");
}

} // namespace
