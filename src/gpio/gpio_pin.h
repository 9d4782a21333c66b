// SPDX-License-Identifier: MIT
// Pins of the kernel's sysfs GPIO interface that are set once and not kept open. A pin goes by its
// kernel GPIO number in decimal.
#pragma once

#include <array>

// Writes `state` ("high", "low", "in") into the direction file of the pin, exporting it first
// where needed. 0 when the file took it, -1 when it is not there.
int gpio_exp_pin(const char* pin, const char* state);

// 1 when the board has sysfs GPIO and the pin is exported, else 0.
int gpio_pin_present(const char* pin);

namespace power_man {

using PinPath = std::array<char, 256>;

// A file of the pin's directory ("/value"), or the directory itself ("").
PinPath pin_path(const char* pin, const char* file);

// Asks the kernel to make the pin's directory, or to take it away again. False when it refuses
// the number; without its control file nothing happens.
bool export_pin(const char* pin);
bool unexport_pin(const char* pin);

} // namespace power_man
