// SPDX-License-Identifier: MIT
// The one clock of the process. It is the machine's, or a virtual one that stands still until
// somebody moves it, so that hours of a terminal's life take milliseconds.
#pragma once

#include <cstdint>

namespace host::clock {

// Milliseconds that never go back.
std::uint64_t now_ms();

// The moment of now_ms() at which that time from now has passed in full.
std::uint64_t after_ms(std::uint64_t milliseconds);

// Microseconds of the machine's own clock, virtual time or not: for measuring callbacks.
std::uint64_t machine_us();

// Seconds since 1970, UTC.
std::int64_t seconds();

// Lets the time pass: sleeps, or moves the virtual clock.
void wait_ms(std::uint64_t milliseconds);

// From now on time stands still, at 0 ms and at a fixed date.
void make_virtual();
bool is_virtual();

// Moves the virtual clock on; a time that has passed already changes nothing.
void advance_to(std::uint64_t milliseconds);

} // namespace host::clock
