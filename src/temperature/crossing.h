// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace power_man {

// Writes one line at level 5: why the sensor with that number, whose record is up to date, goes
// from one interval to another, and what really changes hands or is ordered by it. To be called
// before the actions run: what ends the terminal may leave no time afterwards.
void log_crossing(std::size_t number, std::int32_t from, std::int32_t to, bool supplied);

} // namespace power_man
