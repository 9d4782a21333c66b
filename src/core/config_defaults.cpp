// SPDX-License-Identifier: MIT
#include "core/config_defaults.h"

#include "ap/config.h"
#include "base/config_keys.h"
#include "base/config_values.h"
#include "core/pwr_mgr_main.h"

namespace {

namespace key = power_man::key;

// Either a key with its default, or a manager that knows its own.
struct Row {
    const char* key = nullptr;
    std::int32_t value = 0;
    const char* unless = nullptr; // a capability: when it is 0, the default is 0
    void (*manager)() = nullptr;
};

constexpr std::int32_t room_temperature = 20; // degrees Celsius

constexpr Row rows[] = {
    {.key = key::usb_enabled, .value = 1, .unless = "ram.platform.capabilities.usb.default_enable"},
    {.key = key::usb_extended, .value = 0},
    {.manager = [] { pwr_mgr_poe->createConfigDefaults(); }},
    {.manager = [] { pwr_mgr_phone->createConfigDefaults(); }},
    {.key = key::isdn_enabled, .value = 0},
    {.key = key::hpa_temperature, .value = room_temperature},
    {.key = key::hpa_temperature_state, .value = 0},
    {.key = key::usb_extended_held, .value = 0},
    {.key = key::close_connections, .value = 0},
    {.key = key::limit_background, .value = 0},
};

std::int32_t default_of(const Row& row)
{
    std::int32_t capability = 0;
    const bool denied =
        row.unless != nullptr && config_read_int(row.unless, &capability) == 0 && capability == 0;
    return denied ? 0 : row.value;
}

} // namespace

void pwr_man_create_config_default()
{
    for (const Row& row : rows) {
        if (row.manager != nullptr)
            row.manager();
        else
            power_man::write_default(row.key, default_of(row));
    }
}
