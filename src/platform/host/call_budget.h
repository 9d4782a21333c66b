// SPDX-License-Identifier: MIT
// How long the loop may be held up by a server: each call has its deadline, and all the calls
// of one callback of the loop share a budget. When that is spent, calls fail at once until the
// callback ends: after a second at the worst, far below the time after which supervision gives
// the process up.
#pragma once

#include <cstdint>

#include "host/clock.h"

namespace host {

class CallBudget {
public:
    static constexpr std::uint64_t call_us = 250'000;
    static constexpr std::uint64_t callback_us = 750'000; // a call that begins before may end later

    bool spent() const { return used_us_ >= callback_us; }

    // The deadline of a call that begins now.
    static std::uint64_t deadline() { return clock::machine_us() + call_us; }

    void use(std::uint64_t microseconds) { used_us_ += microseconds; }
    void renew() { used_us_ = 0; }

private:
    std::uint64_t used_us_ = 0;
};

} // namespace host
