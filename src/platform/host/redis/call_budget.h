// SPDX-License-Identifier: MIT
// How long the loop may be held up by a server: each call has its deadline, and all the calls
// of one callback of the loop share a budget. When that is spent, calls fail at once until the
// callback ends: after a second at the worst, far below the time after which supervision gives
// the process up.
//
// Before the loop runs, nobody waits for it: the calls of the start share one longer time, so that
// a server that is slow, or hangs for a moment, does not start a daemon that knows nothing. What
// begins when that is over times out, like any call, and the connection is lost: a default that
// follows a failed read must not reach the server.
#pragma once

#include <cstdint>

#include "host/base/clock.h"

namespace host {

class CallBudget {
public:
    static constexpr std::uint64_t call_us = 250'000;
    static constexpr std::uint64_t callback_us = 750'000; // a call that begins before may end later
    static constexpr std::uint64_t start_us = 10'000'000;

    bool spent() const { return !starting_ && used_us_ >= callback_us; }

    // The deadline of a call that begins now.
    std::uint64_t deadline() const
    {
        const std::uint64_t left = used_us_ < start_us ? start_us - used_us_ : 0;
        return machine_us() + (starting_ ? left : call_us);
    }

    void use(std::uint64_t microseconds) { used_us_ += microseconds; }

    // A callback of the loop has ended, or the loop is about to run.
    void renew()
    {
        used_us_ = 0;
        starting_ = false;
    }

private:
    bool starting_ = true;
    std::uint64_t used_us_ = 0;
};

} // namespace host
