// SPDX-License-Identifier: MIT
#pragma once

namespace power_man {

// Has the loop watch the over-current line with that GPIO number from now on. To be called at each
// switching on of USB: what could not be watched, or has been taken away since, is tried again.
// USB works without: a failure is one line in the log, not repeated while it lasts.
void watch_over_current(unsigned int gpio);

} // namespace power_man
