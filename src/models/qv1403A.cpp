// SPDX-License-Identifier: MIT
// The V360 radio module alone, which warns before it ends the terminal.
#include "models/common.h"
#include "models/sound.h"

namespace power_man::qv1403A {

using namespace common;
using enum Action;

inline constexpr Interval module[] = {
    {low, always(-273, -20), no_act, no_act},
    {normal, always(-25, 70), high_temp_warning_on, no_act},
    {off, always(70, 75), power_off, high_temp_warning_off},
};
inline constexpr Sensor sensors[] = {radio_module("Radio Module - V360", module)};
inline constexpr Source sources[] = {module_source(0)};

inline constexpr Model model = {
    .id = "qv1403A",
    .sensors = sensors,
    .sources = sources,
    .subscription = nullptr,
    .copies = {},
    .report = module_report,
    .usb = direct_usb,
    .poe = PoeSwitching::none,
    .self_test = module_self_test,
    .dead_time_ms = 0,
};
static_assert(is_sound(model));

} // namespace power_man::qv1403A
