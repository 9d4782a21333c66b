// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "base/terminal.h"
#include "support/terminal.h"
#include "temperature/temp_sensors.h"
#include "usb/usb_power.h"

namespace {

TEST(CopyTimer, copies_the_amplifier_on_every_model_that_it_runs_on)
{
    Terminal terminal("qv1305A");
    terminal.start();
    terminal.write(
        {{"rmcfg.platform.hpa.temperature", 300}, {"rmcfg.platform.acm.temperature", 1}});
    platform_temp_copy_cb(nullptr);
    EXPECT_EQ(terminal.value("ram.status.hpa.temperature"), "300");
    EXPECT_EQ(terminal.value("ram.status.acm.temperature"), "-");
}

TEST(UnreadableModel, is_asked_for_once_for_each_look_at_a_table)
{
    Terminal terminal("qv1305A");
    terminal.start();
    terminal.remove("ram.platform.id");
    pwr_mgr_reset_platform_id();
    terminal.story();
    pwr_mgr_usb_power(1, 0);
    EXPECT_EQ(terminal.story(), "log 1 Failed to read config: ram.platform.id\n"
                                "log 1 Failed to read config: ram.platform.id\n"
                                "log 3 Failed to set usb power: unknown platform []\n");
}

} // namespace
