// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace host {

// The one clock of a daemon. It is the machine's, or a virtual one that stands still until
// somebody moves it, so that hours of a terminal's life take milliseconds.
class Clock {
public:
    // Milliseconds that never go back.
    std::uint64_t now_ms() const;

    // The moment of now_ms() at which that time from now has passed in full.
    std::uint64_t after_ms(std::uint64_t milliseconds) const;

    // Seconds since 1970, UTC.
    std::int64_t seconds() const;

    // The wall clock at that moment of now_ms(), in milliseconds since 1970 (UTC): as the clock is
    // set now, so that what happened before it was set comes out right.
    std::int64_t wall_ms(std::uint64_t moment_ms) const;

    // Lets the time pass: sleeps, or moves the virtual clock.
    void wait_ms(std::uint64_t milliseconds);

    // From now on time stands still, at 0 ms and at that date: seconds since 1970.
    static constexpr std::int64_t virtual_epoch = 1767225600; // 2026-01-01 00:00:00 UTC
    void make_virtual(std::int64_t date = virtual_epoch);
    bool is_virtual() const { return virtual_; }

    // Moves the virtual clock on; a time that has passed already changes nothing.
    void advance_to(std::uint64_t milliseconds);

private:
    bool virtual_ = false;
    std::int64_t virtual_date_ = 0; // at 0 ms
    std::uint64_t virtual_now_ms_ = 0;
};

// Microseconds of the machine's own clock, virtual time or not: for measuring callbacks, and for
// the deadlines of what happens outside this process.
std::uint64_t machine_us();

} // namespace host
