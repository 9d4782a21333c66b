// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "ap/loop.h"
#include "host/base/clock.h"

namespace host {

// Timers that fire once, in the order of their due time; equal times in the order of adding.
class Timers {
public:
    struct Timer {
        std::uint64_t due_ms;
        std::uint64_t order; // of adding or starting afresh
        int id;
        fdloop_timer_callback callback;
        void* user;
    };

    // The clock must outlive the object.
    explicit Timers(const Clock& clock) : clock_(clock) {}

    // The timer's id, above 0.
    int add(std::uint64_t milliseconds, fdloop_timer_callback callback, void* user);

    // 0, or -ENOENT when the timer is not pending.
    int restart(int id, std::uint64_t milliseconds);
    int remove(int id);

    // When the next one is due; none without timers.
    std::optional<std::uint64_t> next_due_ms() const;

    // Takes the first timer, if it is due at `now_ms` and was not added after `newest`.
    std::optional<Timer> take_due(std::uint64_t now_ms, std::uint64_t newest);

    // The one added last, for take_due().
    std::uint64_t newest() const { return order_; }

private:
    static bool later(const Timer& a, const Timer& b);

    const Clock& clock_;
    std::vector<Timer> heap_; // the next one first
    std::uint64_t order_ = 0;
    int next_id_ = 1;
};

} // namespace host
