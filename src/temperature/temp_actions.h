// SPDX-License-Identifier: MIT
// What the daemon does when a sensor crosses an interval boundary.
//
// Four consumers can be held off: data connections, background data, the extended USB port and
// PoE. Several sensors may hold the same one: the first switches it off, the last to let go
// switches it on again; only these two write keys and report the event. The other actions act
// on every call.
#pragma once

#include <array>

#include "event_handler/event_client.h"

namespace power_man {

// The events that the actions report, to be registered at start-up.
extern const std::array<EventDefinition, 9> temperature_event_definitions;

} // namespace power_man

void no_act();

void data_off();
void data_on();
void bgr_off();
void bgr_on();
void usb_power_off(); // takes the extended port away; the USB state itself stays
void usb_power_on();  // gives it back as the user's setting is then
void poe_off();
void poe_on();

// Several of the above in a fixed order: that of their names, but for the pair bgr_usb_off and
// bgr_usb_on, which begin with the port.
void bgr_usb_off();
void bgr_usb_on();
void bgr_usb_poe_off();
void bgr_usb_poe_on();
void bgr_poe_off(); // and the fan at full speed
void bgr_poe_on();  // and the fan off

void reboot_term();
void power_off();

void low_temp_on();
void low_temp_off();
void high_temp_warning_on();
void high_temp_warning_off();

void fan_on();
void fan_off();
void write_to_fan(int speed); // 0 to 255
