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
