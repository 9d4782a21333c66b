// SPDX-License-Identifier: MIT
#include "host/loop/timers.h"

#include <algorithm>
#include <cerrno>
#include <climits>

namespace host {

bool Timers::later(const Timer& a, const Timer& b)
{
    return a.due_ms != b.due_ms ? a.due_ms > b.due_ms : a.order > b.order;
}

int Timers::add(std::uint64_t milliseconds, fdloop_timer_callback callback, void* user)
{
    const int id = next_id_;
    next_id_ = id == INT_MAX ? 1 : id + 1;
    heap_.push_back({clock_.after_ms(milliseconds), ++order_, id, callback, user});
    std::push_heap(heap_.begin(), heap_.end(), later);
    return id;
}

int Timers::restart(int id, std::uint64_t milliseconds)
{
    const auto timer = std::find_if(heap_.begin(), heap_.end(),
                                    [id](const Timer& candidate) { return candidate.id == id; });
    if (timer == heap_.end())
        return -ENOENT;
    timer->due_ms = clock_.after_ms(milliseconds);
    timer->order = ++order_;
    std::make_heap(heap_.begin(), heap_.end(), later);
    return 0;
}

int Timers::remove(int id)
{
    if (std::erase_if(heap_, [id](const Timer& timer) { return timer.id == id; }) == 0)
        return -ENOENT;
    std::make_heap(heap_.begin(), heap_.end(), later);
    return 0;
}

std::optional<std::uint64_t> Timers::next_due_ms() const
{
    return heap_.empty() ? std::nullopt : std::optional(heap_.front().due_ms);
}

std::optional<Timers::Timer> Timers::take_due(std::uint64_t now_ms, std::uint64_t newest)
{
    if (heap_.empty() || heap_.front().due_ms > now_ms || heap_.front().order > newest)
        return std::nullopt;
    const Timer timer = heap_.front();
    std::pop_heap(heap_.begin(), heap_.end(), later);
    heap_.pop_back();
    return timer;
}

} // namespace host
