// SPDX-License-Identifier: MIT
// Which GPIO pins switch the USB power of each terminal model, and in which order.
#pragma once

#include <span>

namespace power_man {

struct UsbPin {
    const char* pin;   // kernel GPIO number
    const char* state; // for its direction file; null: "high" or "low" as the extended port
};

struct UsbPinTable {
    const char* platform;
    const char* chip; // directory that must be there before a pin is touched; null: none
    std::span<const UsbPin> on;
    std::span<const UsbPin> off;
    bool over_current_line; // watched once USB is on
};

// The table of this terminal, null for an unknown model.
const UsbPinTable* find_usb_pins();

} // namespace power_man
