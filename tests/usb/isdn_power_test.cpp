// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "support/failing_device.h"
#include "support/terminal.h"

TEST(IsdnPower, FollowsItsSettingAndSurvivesItsFile)
{
    constexpr const char* setting = "cfg.interfaces.isdn.enabled";
    constexpr const char* control = "/sys/devices/platform/fpga.0/control/isdnpwr";
    Terminal terminal("qv1202B");
    terminal.start();
    const std::string file = std::string("file ") + control;
    EXPECT_EQ(terminal.write(setting, 2), file + " 1\nset ram.status.interfaces.isdn.enabled 2\n");
    EXPECT_EQ(terminal.write(setting, 0), file + " 0\nset ram.status.interfaces.isdn.enabled 0\n");

    const std::string open_fails =
        std::string("log 4 Failed to open phone interface ") + control + "\n";
    const std::string write_fails = "log 4 Failed to enable/disable isdn interface\n";
    EXPECT_EQ(use_failing_device(terminal, control, setting),
              open_fails + open_fails + open_fails + write_fails + write_fails);
    EXPECT_EQ(terminal.value("ram.status.interfaces.isdn.enabled"), "0");
}
