// SPDX-License-Identifier: MIT
#pragma once

namespace power_man {

// Brings the pins of the terminal's USB ports into their states, in the model's order: a port is
// on when its argument is not 0, the extended one only while USB is on. False, and a line in the
// log, for an unknown model; also on a terminal without its GPIO chip, where the USB status key
// becomes 0. The failures of single pins are logged only.
bool set_usb_pins(int on, int extended);

} // namespace power_man
