// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "support/terminal.h"

TEST(ConfigDispatch, AppliesEachSettingInTheOrderWritten)
{
    Terminal terminal("qv1608B");
    terminal.write(
        {{"ram.platform.capabilities.usb", 1}, {"cfg.interfaces.usb.extended_host_interface", 1}});
    terminal.start();
    EXPECT_EQ(
        terminal.write({{"cfg.interfaces.usb.enabled", 0}, {"cfg.interfaces.isdn.enabled", 1}}),
        "pin 80 high\n"
        "set ram.status.interfaces.usb.enabled 0\n"
        "set ram.status.interfaces.usb.extended_host_interface 1\n"
        "file /sys/devices/platform/fpga.0/control/isdnpwr 1\n"
        "set ram.status.interfaces.isdn.enabled 1\n");
    EXPECT_EQ(terminal.write("cfg.interfaces.usb.extended_host_interface", 7),
              "pin 80 high\n"
              "pin 80 high\n"
              "set ram.status.interfaces.usb.enabled 0\n"
              "set ram.status.interfaces.usb.extended_host_interface 7\n");
    EXPECT_EQ(terminal.remove("cfg.interfaces.usb.enabled") +
                  terminal.write_text("cfg.interfaces.isdn.enabled", "1x") +
                  terminal.write("cfg.interfaces.usb.enabled.more", 1),
              "");
}
