// SPDX-License-Identifier: MIT
#pragma once

namespace power_man {

// Of the FPGA; a unit without ISDN has none.
inline constexpr const char* isdn_control_file = "/sys/devices/platform/fpga.0/control/isdnpwr";

} // namespace power_man

// Powers the ISDN interface (not 0) or takes its power away (0), and publishes `enabled` as it
// is in the status key. A failure is logged at level 4 and leaves the status key alone; so it
// is on a unit without ISDN. Blocks as long as the FPGA's driver does.
void set_isdn_power(int enabled);
