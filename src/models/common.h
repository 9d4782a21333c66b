// SPDX-License-Identifier: MIT
// What several terminal models have in common.
#pragma once

#include "base/config_keys.h"
#include "models/model.h"

namespace power_man::common {

// A sensor's ranges that are the same with and without external supply.
constexpr Ranges always(std::int32_t min, std::int32_t max)
{
    return {{min, max}, {min, max}};
}

inline constexpr AlarmIntervals by_temperature = {-1, -1, -1, -1, -1, -1, -1};

// Names of intervals.
inline constexpr const char* low = "Low Temperature";
inline constexpr const char* normal = "Normal Operation";
inline constexpr const char* reduced = "Reduced Performance";
inline constexpr const char* closing = "Closing connections";
inline constexpr const char* off = "Power Off";

// An amplifier, which is placed by the state that it reports and never by a temperature.
inline constexpr AlarmIntervals by_amplifier_state = {1, 2, 2, 3, 0, 0, 0};
inline constexpr Interval amplifier_intervals[] = {
    {low, always(0, 0), Action::no_act, Action::no_act},
    {normal, always(0, 0), Action::bgr_off, Action::no_act},
    {reduced, always(0, 0), Action::data_off, Action::bgr_on},
    {closing, always(0, 0), Action::reboot_term, Action::data_on},
    {off, always(0, 0), Action::no_act, Action::no_act},
};

constexpr Sensor amplifier(const char* name)
{
    return {name, key::hpa_temperature, by_amplifier_state, amplifier_intervals};
}

constexpr Sensor radio_module(const char* name, std::span<const Interval> intervals)
{
    return {name, key::mainboard_temperature, by_temperature, intervals};
}

constexpr Source module_source(std::size_t sensor)
{
    return {key::mainboard_temperature, Reading::temperature, sensor, " RadioModule, temperature"};
}
constexpr Source amplifier_source(std::size_t sensor)
{
    return {key::hpa_temperature_state, Reading::alarm, sensor, " HPA temperature state changed"};
}

inline constexpr Limitation background_limited = {key::limit_background,
                                                  "   Background connections - Limited\n"};
inline constexpr Limitation connections_closed = {key::close_connections,
                                                  "   Connections Closed\n"};
inline constexpr Limitation terminal_off = {key::power_off, "   Power Off terminal\n"};
inline constexpr Limitation module_limitations[] = {
    {key::usb_held, "   USB\n"},
    {key::usb_extended_held, "   USB extern host\n"},
    background_limited,
    connections_closed,
    terminal_off};

// The radio module as the first sensor, and no amplifier.
inline constexpr StatusReport module_report = {
    .sensor = 0, .battery_limits = true, .amplifier = no_sensor, .limitations = module_limitations};
inline constexpr SelfTestDevices module_self_test = {.ethernet_switch = nullptr,
                                                     .usb_chip = nullptr,
                                                     .usb_pin = nullptr,
                                                     .temperature_status = nullptr,
                                                     .temperature = key::mainboard_temperature};

// USB power straight from the processor's pins.
inline constexpr UsbPin direct_on[] = {
    {"53", as_extended}, {"54", "high"}, {"55", "high"}, {"56", "high"}, {"52", "high"}};
inline constexpr UsbPin direct_off[] = {
    {"52", "low"}, {"53", "low"}, {"54", "low"}, {"55", "low"}, {"56", "low"}};
inline constexpr UsbPower direct_usb = {
    .chip = nullptr, .on = direct_on, .off = direct_off, .over_current_line = no_line};

} // namespace power_man::common
