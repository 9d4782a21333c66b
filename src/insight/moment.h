// SPDX-License-Identifier: MIT
// Times of what is remembered. They are counted by the clock that never goes back, and shown by the
// wall clock as it is set now: what happened before it was set comes out right, too.
#pragma once

#include <cstdint>
#include <string>

namespace power_man::insight {

// Seconds. A quarter of an hour of the wall clock begins at each multiple of 900, unless the clock
// has been set since the first call of now().
using Moment = std::uint32_t;

constexpr Moment minute = 60;
constexpr Moment quarter = 15 * minute;
constexpr Moment hour = 60 * minute;

// To be called at least once in 49 days, when the clock below it wraps: each reading does.
Moment now();

// Seconds since 1970.
std::int32_t wall_time(Moment moment);

// In the machine's time zone, as the log has it: "14:03:22", or "2026-11-22 14:03:22" for another
// day than today.
std::string time_text(Moment moment);

// "14:03"; "2026-11-22T14:03:00+0100".
std::string short_time_text(Moment moment);
std::string full_time_text(Moment moment);

// "4 s", "12 min", "3 h 12 min", "2 d 5 h".
std::string duration_text(Moment seconds);

} // namespace power_man::insight
