// SPDX-License-Identifier: MIT
// What the daemon does when a sensor crosses an interval boundary.
//
// The actions on a consumer (see consumers.h) count its holders; the others act on every call.
#pragma once

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
