// SPDX-License-Identifier: MIT
// The V150 radio module alone, with a cold limit of its own and no USB.
#include "models/common.h"
#include "models/sound.h"

namespace power_man::qv2500A {

using namespace common;
using enum Action;

inline constexpr Interval module[] = {
    {low, always(-273, -38), low_temp_off, no_act},
    {normal, always(-40, 83), reboot_term, low_temp_on},
    {off, always(60, 100), no_act, no_act},
};
inline constexpr Sensor sensors[] = {radio_module("Radio Module - V150", module)};
inline constexpr Source sources[] = {module_source(0)};

inline constexpr Limitation limitations[] = {terminal_off};

inline constexpr Model model = {
    .id = "qv2500A",
    .sensors = sensors,
    .sources = sources,
    .subscription = nullptr,
    .copies = {},
    .report = {.sensor = 0,
               .battery_limits = true,
               .amplifier = no_sensor,
               .limitations = limitations},
    .usb = {.chip = nullptr, .on = {}, .off = {}, .over_current_line = no_line},
    .poe = PoeSwitching::none,
    .self_test = module_self_test,
    .dead_time_ms = 0,
};
static_assert(is_sound(model));

} // namespace power_man::qv2500A
