// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace power_man {

// False when scanf's %d or %u could overflow on the number at the start of `text`: C leaves the
// result undefined then, and on a 64-bit machine 4294967296 would become port 0. Nine digits
// after leading zeros always fit; more of them are beyond every port. True when there is no
// number: scanf itself finds that out.
bool scanf_can_hold(std::string_view text);

} // namespace power_man
