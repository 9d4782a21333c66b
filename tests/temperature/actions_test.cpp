// SPDX-License-Identifier: MIT
#include "temperature/temp_actions.h"

#include "support/terminal.h"
#include "usb/usb_power.h"

namespace {

TEST(Actions, WriteThenReportThenSignal)
{
    Terminal terminal("qv1305A");
    terminal.start();
    pwr_mgr_usb_power(1, 1); // the pins are exported from now on
    terminal.write({{key::usb_enabled, 1}, {key::usb_extended, 1}, {key::usb_status, 1}});
    terminal.story();
    std::string story;
    for (void (*const action)() :
         {no_act, data_off, data_on, bgr_usb_off, bgr_usb_on, bgr_usb_poe_off, bgr_poe_off,
          bgr_poe_on, bgr_usb_poe_on, reboot_term, power_off, low_temp_on, low_temp_off,
          high_temp_warning_on, high_temp_warning_off}) {
        action();
        story += in_words(terminal.story()) + "\n";
    }
    EXPECT_EQ(story, R"(
close_connections=1 +CLOSE_CONNECTIONS
close_connections=0 -CLOSE_CONNECTIONS
53=low 54=high 55=high 56=high 52=high usb.extended_host_interface=0 usb.extended.pwr_controlled=1 +USB_EXT limit_background=1 rmcfg.sys.reduce_background_datarate=1 +LIMIT_BACKGROUND
53=high 54=high 55=high 56=high 52=high usb.extended_host_interface=1 usb.extended.pwr_controlled=0 -USB_EXT limit_background=0 rmcfg.sys.reduce_background_datarate=0 -LIMIT_BACKGROUND
limit_background=1 rmcfg.sys.reduce_background_datarate=1 +LIMIT_BACKGROUND 53=low 54=high 55=high 56=high 52=high usb.extended_host_interface=0 usb.extended.pwr_controlled=1 +USB_EXT lan.poe.pwr_controlled=1 +POE
ram.fan.set_speed=255
ram.fan.set_speed=0
limit_background=0 rmcfg.sys.reduce_background_datarate=0 -LIMIT_BACKGROUND 53=high 54=high 55=high 56=high 52=high usb.extended_host_interface=1 usb.extended.pwr_controlled=0 -USB_EXT lan.poe.pwr_controlled=0 -POE
power_off=1 +CLOSE_TERMINAL reboot
power_off=1 +CLOSE_TERMINAL shutdown
+TEMP_LOW
-TEMP_LOW
+WARN
-WARN
)");
    // Each call has its order, without NUL.
    const host::SignalLog& signals = host::instance().bus.sent();
    reboot_term();
    EXPECT_EQ(signals.signal(signals.count()).kept(),
              "0, Rebooting terminal due to high temperature");
    power_off();
    EXPECT_EQ(signals.signal(signals.count()).kept(),
              "0, Shutting down terminal due to high temperature");
}

TEST(Actions, SwitchUsbByTheKeysOfTheMoment)
{
    Terminal terminal("qv1305A");
    terminal.start();
    const auto effect = [&](void (*action)()) {
        terminal.story();
        action();
        return in_words(only(terminal.story(), {"pin 52", "pin 53", "set ram.status.interfaces"}));
    };
    terminal.write({{key::usb_enabled, 1}, {key::usb_extended, 1}, {key::usb_status, 1}});
    usb_power_off();
    terminal.write(key::usb_extended, 0); // the user changes his mind meanwhile
    EXPECT_EQ(effect(usb_power_on), "53=low 52=high usb.extended_host_interface=0");
    // Keys that cannot be read count as off.
    terminal.write_text(key::usb_status, "on");
    EXPECT_EQ(effect(usb_power_off), "52=low 53=low usb.extended_host_interface=0");
    terminal.remove(key::usb_extended);
    EXPECT_EQ(effect(usb_power_on), "53=low 52=high usb.extended_host_interface=0");
    terminal.write(key::usb_enabled, 0);
    EXPECT_EQ(effect(usb_power_on), "52=low 53=low usb.extended_host_interface=0");
}

} // namespace
