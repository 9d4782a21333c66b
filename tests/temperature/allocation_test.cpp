// SPDX-License-Identifier: MIT
// An evaluation that changes nothing, which is nearly every one, allocates no memory.
#include <gtest/gtest.h>

#include <cstdlib>

#include "ap/config.h"
#include "ap/loop.h"
#include "base/config_keys.h"
#include "support/allocations.h"
#include "support/platform.h"
#include "temperature/sensor_numbers.h"
#include "temperature/temp_desc.h"
#include "temperature/temp_level.h"
#include "temperature/temp_sensors.h"

TEST(Allocation, AnEvaluationThatChangesNothingNeedsNone)
{
    if (std::getenv("LD_PRELOAD") != nullptr)
        GTEST_SKIP() << "a tool counts in our place";
    config_init_cbus(cbus_conn_create(fdloop_init(), own_bus_name().c_str()), 0);
    config_write_int(power_man::key::external_supply, 1);
    init_temp_mon_rec();

    const std::size_t before = allocations();
    ASSERT_GT(before, 0U); // counts
    for (const int id : {sensor::battery, sensor::radio_module, sensor::v640})
        temp_action(id, 0, 20);
    EXPECT_EQ(allocations() - before, 0U);
    for (const std::size_t id : {std::size_t{sensor::battery}, std::size_t{sensor::radio_module}}) {
        EXPECT_EQ(temp_mon_rec[id].intv, 1); // placed where they were
        EXPECT_EQ(temp_mon_rec[id].temp, 20);
    }
}
