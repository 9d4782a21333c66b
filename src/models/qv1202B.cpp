// SPDX-License-Identifier: MIT
// With an amplifier, and PoE behind the FPGA.
#include "models/common.h"
#include "models/sound.h"

namespace power_man::qv1202B {

using namespace common;
using enum Action;

inline constexpr Interval module[] = {
    {low, always(-273, -20), no_act, no_act},
    {normal, always(-25, 70), bgr_usb_poe_off, no_act},
    {reduced, always(65, 75), data_off, bgr_usb_poe_on},
    {closing, always(70, 80), reboot_term, data_on},
    {off, always(60, 100), no_act, no_act},
};
inline constexpr Sensor sensors[] = {
    radio_module("Radio Module", module),
    amplifier("HPA"),
};
inline constexpr Source sources[] = {module_source(0), amplifier_source(1)};

// Lines 1 to 7 of the chip.
inline constexpr const char* chip = "/sys/class/gpio/gpiochip248";
inline constexpr UsbPin usb_on[] = {
    {"249", "high"}, {"250", "high"}, {"251", "high"}, {"252", as_extended},
    {"253", "in"},   {"254", "in"},   {"255", "high"},
};
inline constexpr UsbPin usb_off[] = {
    {"249", "low"}, {"250", "low"}, {"251", "low"}, {"252", "low"},
    {"253", "in"},  {"254", "in"},  {"255", "low"},
};

inline constexpr Model model = {
    .id = "qv1202B",
    .sensors = sensors,
    .sources = sources,
    .subscription = nullptr,
    .copies = {},
    .report = {.sensor = 0,
               .battery_limits = true,
               .amplifier = 1,
               .limitations = module_limitations},
    .usb = {.chip = chip, .on = usb_on, .off = usb_off, .over_current_line = no_line},
    .poe = PoeSwitching::fpga,
    .self_test = {.ethernet_switch = "/sys/bus/platform/drivers/qv820_switch/switch.4",
                  .usb_chip = chip,
                  .usb_pin = "249",
                  .temperature_status = nullptr,
                  .temperature = key::mainboard_temperature},
    .dead_time_ms = 0,
};
static_assert(is_sound(model));

} // namespace power_man::qv1202B
