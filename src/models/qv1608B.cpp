// SPDX-License-Identifier: MIT
// In two units: the amplifier stands outside (ADU), the radio module below deck (BDU).
#include "models/common.h"
#include "models/sound.h"

namespace power_man::qv1608B {

using namespace common;
using enum Action;

inline constexpr Interval module[] = {
    {low, always(-273, -20), no_act, no_act},
    {normal, always(-25, 72), bgr_poe_off, no_act},
    {reduced, always(67, 75), data_off, bgr_poe_on},
    {closing, always(70, 80), reboot_term, data_on},
    {off, always(60, 100), no_act, no_act},
};
inline constexpr Sensor sensors[] = {
    amplifier("HPA - Morvin ADU"),
    radio_module("Radio Module - Morvin BDU", module),
};
inline constexpr Source sources[] = {module_source(1), amplifier_source(0)};

inline constexpr Copy copies[] = {
    {"rmcfg.platform.acm.temperature", "ram.status.acm.temperature"},
    {"rmcfg.platform.acm.temperature_state", "ram.status.acm.temperature_state"},
};

inline constexpr Limitation limitations[] = {background_limited, connections_closed, terminal_off};

// Active low.
inline constexpr UsbPin usb_on[] = {{"80", "low"}};
inline constexpr UsbPin usb_off[] = {{"80", "high"}};

inline constexpr Model model = {
    .id = "qv1608B",
    .sensors = sensors,
    .sources = sources,
    .subscription = nullptr,
    .copies = copies,
    .report = {.sensor = 1, .battery_limits = false, .amplifier = 0, .limitations = limitations},
    .usb = {.chip = "/sys/class/gpio/gpiochip64",
            .on = usb_on,
            .off = usb_off,
            .over_current_line = 81},
    .poe = PoeSwitching::psu_mcu,
    .self_test = {.ethernet_switch =
                      "/sys/devices/ocp.2/48030000.spi/spi_master/spi1/spi1.0/registers",
                  .usb_chip = nullptr,
                  .usb_pin = "200",
                  .temperature_status = nullptr,
                  .temperature = key::mainboard_temperature},
    .dead_time_ms = 60000,
};
static_assert(is_sound(model));

} // namespace power_man::qv1608B
