// SPDX-License-Identifier: MIT
#pragma once

// Powers the ISDN interface (not 0) or takes its power away (0). It does not switch anything
// yet: it says so in the log.
void set_isdn_power(int enabled);
