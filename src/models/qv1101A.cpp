// SPDX-License-Identifier: MIT
// With a battery, whose limits depend on the external supply.
#include "models/common.h"
#include "models/sound.h"

namespace power_man::qv1101A {

using namespace common;
using enum Action;

inline constexpr Interval battery[] = {
    {low, always(-273, -20), no_act, no_act},
    {normal, {{-25, 52}, {-25, 65}}, bgr_usb_off, no_act},
    {reduced, {{50, 55}, {60, 69}}, data_off, bgr_usb_on},
    {closing, {{53, 58}, {65, 72}}, reboot_term, data_on},
    {off, {{50, 100}, {70, 100}}, no_act, no_act},
};
inline constexpr Sensor sensors[] = {{.name = "Battery",
                                      .key = key::battery_temperature,
                                      .alarm_intervals = by_temperature,
                                      .intervals = battery}};

inline constexpr Source sources[] = {
    {key::battery_temperature, Reading::temperature, 0, " Battery 1, temperature"},
    {key::external_supply, Reading::supply, 0, " RAM_STATUS_EXT_SUPPLY changed"},
};

inline constexpr Limitation limitations[] = {
    {key::usb_held, "   USB - Off\n"},
    {key::usb_extended_held, "   USB extern host - Off\n"},
    {key::poe_held, "   PoE - Off\n"},
    background_limited,
    connections_closed,
    terminal_off,
};

inline constexpr Model model = {
    .id = "qv1101A",
    .sensors = sensors,
    .sources = sources,
    .subscription = "ram.status.psumcu.events.subscribe.treshold.temperature.pwr_mgr",
    .copies = {},
    .report = {.sensor = 0,
               .battery_limits = true,
               .amplifier = no_sensor,
               .limitations = limitations},
    .usb = direct_usb,
    .poe = PoeSwitching::none,
    .self_test = {.ethernet_switch = nullptr,
                  .usb_chip = nullptr,
                  .usb_pin = "53",
                  .temperature_status = key::battery_status,
                  .temperature = key::battery_temperature},
    .dead_time_ms = 0,
};
static_assert(is_sound(model));

} // namespace power_man::qv1101A
