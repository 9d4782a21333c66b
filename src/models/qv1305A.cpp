// SPDX-License-Identifier: MIT
// The V640 radio module alone.
#include "models/common.h"
#include "models/sound.h"

namespace power_man::qv1305A {

using namespace common;
using enum Action;

inline constexpr Interval module[] = {
    {low, always(-273, -20), no_act, no_act},
    {normal, always(-25, 83), reboot_term, no_act},
    {off, always(60, 100), no_act, no_act},
};
inline constexpr Sensor sensors[] = {{.name = "Radio Module - V640",
                                      .key = key::mainboard_temperature,
                                      .alarm_intervals = by_temperature,
                                      .intervals = module}};
inline constexpr Source sources[] = {module_source(0)};

inline constexpr Model model = {
    .id = "qv1305A",
    .sensors = sensors,
    .sources = sources,
    .subscription = nullptr,
    .copies = {},
    .report = {.sensor = 0,
               .battery_limits = true,
               .amplifier = no_sensor,
               .limitations = module_limitations},
    .usb = direct_usb,
    .poe = PoeSwitching::none,
    .self_test = {.ethernet_switch = nullptr,
                  .usb_chip = nullptr,
                  .usb_pin = nullptr,
                  .temperature_status = nullptr,
                  .temperature = key::mainboard_temperature},
    .dead_time_ms = 0,
};
static_assert(is_sound(model));

} // namespace power_man::qv1305A
