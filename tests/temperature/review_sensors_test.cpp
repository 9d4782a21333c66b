// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "support/terminal.h"
#include "temperature/temp_sensors.h"

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

} // namespace
