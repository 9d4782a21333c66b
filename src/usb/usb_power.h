// SPDX-License-Identifier: MIT
// Power of the USB host ports, and of the extended host port among them.
#pragma once

class UsbFaultHandler;

// Null until the over-current line of the terminal is watched; lives as long as the process.
extern UsbFaultHandler* usb_fault_handler;

// Switches USB power, and the extended port's with it: a port is on when its argument is not 0,
// the extended one only while USB is on. Failures are logged; on a terminal without its GPIO
// chip the USB status key becomes 0.
void pwr_mgr_usb_power(int on, int extended);

// Applies the user's USB settings, less what temperature management holds off, and publishes
// them in the status keys. With 1 USB is switched off for 20 ms first (blocking). Does nothing
// on a unit without USB.
void apply_usb_config(int cycle);

// Writes `state` ("high", "low", "in") into the direction file of the pin with that decimal
// number, exporting it first where needed. 0 when the file took it, -1 when it is not there.
int gpio_exp_pin(const char* pin, const char* state);

// 1 when the board has sysfs GPIO and the pin is exported, else 0.
int gpio_pin_present(const char* pin);

// The integer at a capability key, 0 (and a warning) when it cannot be read.
int read_capability(const char* key);
