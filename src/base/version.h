// SPDX-License-Identifier: MIT
#pragma once

namespace power_man {

// The daemon's own, such as "1.0.0". It stands in debian/changelog only.
extern const char* const version;

} // namespace power_man
