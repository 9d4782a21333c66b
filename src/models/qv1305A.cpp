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
inline constexpr Sensor sensors[] = {radio_module("Radio Module - V640", module)};
inline constexpr Source sources[] = {module_source(0)};

inline constexpr Model model = {
    .id = "qv1305A",
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

} // namespace power_man::qv1305A
