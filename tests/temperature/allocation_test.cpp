// SPDX-License-Identifier: MIT
// An evaluation that changes nothing, which is nearly every one, allocates no memory.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "ap/config.h"
#include "ap/loop.h"
#include "base/config_keys.h"
#include "support/platform.h"
#include "temperature/sensor_numbers.h"
#include "temperature/temp_desc.h"
#include "temperature/temp_level.h"
#include "temperature/temp_sensors.h"

static unsigned long allocations = 0; // of the whole program

// Not inline: valgrind puts its own in the place of all of them or, of inline ones, of some.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    ++allocations;
    return std::malloc(size > 0 ? size : 1);
}

[[gnu::noinline]] void* operator new(std::size_t size)
{
    if (void* const memory = operator new(size, std::nothrow); memory != nullptr)
        return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

TEST(Allocation, AnEvaluationThatChangesNothingNeedsNone)
{
    if (std::getenv("LD_PRELOAD") != nullptr)
        GTEST_SKIP() << "a tool counts in our place";
    config_init_cbus(cbus_conn_create(fdloop_init(), own_bus_name().c_str()), 0);
    config_write_int(power_man::key::external_supply, 1);
    init_temp_mon_rec();

    const unsigned long before = allocations;
    ASSERT_GT(before, 0U); // counts
    for (const int id : {sensor::battery, sensor::radio_module, sensor::v640})
        temp_action(id, 0, 20);
    EXPECT_EQ(allocations - before, 0U);
    for (const std::size_t id : {std::size_t{sensor::battery}, std::size_t{sensor::radio_module}}) {
        EXPECT_EQ(temp_mon_rec[id].intv, 1); // placed where they were
        EXPECT_EQ(temp_mon_rec[id].temp, 20);
    }
}
