// SPDX-License-Identifier: MIT
// The events of temperature management.
#pragma once

#include <array>

#include "event_handler/event_client.h"

namespace power_man {

enum TemperatureEvent : unsigned int {
    ev_reduced_performance = 0x10201, // defined, as the next, and never reported
    ev_usb = 0x10202,
    ev_usb_extended = 0x10203,
    ev_limit_background = 0x10204,
    ev_close_connections = 0x10205,
    ev_close_terminal = 0x10206,
    ev_temp_low = 0x10207,
    ev_poe = 0x10208,
    ev_warning = 0x10209
};

// To be registered at start-up.
inline constexpr auto temperature_event_definitions = std::to_array<EventDefinition>({
    {ev_reduced_performance, 1, "EV_AP_HIGH_TEMP_REDUCED_PERFORMANCE"},
    {ev_usb, 1, "EV_AP_HIGH_TEMP_USB"},
    {ev_usb_extended, 1, "EV_AP_HIGH_TEMP_USB_EXT"},
    {ev_limit_background, 1, "EV_AP_HIGH_TEMP_LIMIT_BACKGROUND"},
    {ev_close_connections, 1, "EV_AP_HIGH_TEMP_CLOSE_CONNECTIONS"},
    {ev_close_terminal, 2, "EV_AP_HIGH_TEMP_CLOSE_TERMINAL"},
    {ev_temp_low, 1, "EV_AP_TEMP_LOW"},
    {ev_poe, 1, "EV_AP_HIGH_TEMP_POE"},
    {ev_warning, 1, "EV_AP_HIGH_TEMP_WARN"},
});

} // namespace power_man
