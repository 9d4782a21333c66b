// SPDX-License-Identifier: MIT
#include "host/loop/loop.h"

#include <sys/epoll.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

std::unique_ptr<_fdloop_t> _fdloop_t::create(host::Clock& clock, host::Log& log)
{
    host::Descriptor epoll(epoll_create1(EPOLL_CLOEXEC));
    if (!epoll)
        return nullptr;
    return std::unique_ptr<_fdloop_t>(new _fdloop_t(clock, log, std::move(epoll)));
}

bool _fdloop_t::later(const Timer& a, const Timer& b)
{
    return a.due_ms != b.due_ms ? a.due_ms > b.due_ms : a.order > b.order;
}

int _fdloop_t::add_timer(std::uint64_t milliseconds, fdloop_timer_callback callback, void* user)
{
    const int id = next_timer_id_;
    next_timer_id_ = id == INT_MAX ? 1 : id + 1;
    timers_.push_back({clock_.after_ms(milliseconds), ++timer_order_, id, callback, user});
    std::push_heap(timers_.begin(), timers_.end(), later);
    return id;
}

int _fdloop_t::restart_timer(int id, std::uint64_t milliseconds)
{
    const auto timer = std::find_if(timers_.begin(), timers_.end(),
                                    [id](const Timer& candidate) { return candidate.id == id; });
    if (timer == timers_.end())
        return -ENOENT;
    timer->due_ms = clock_.after_ms(milliseconds);
    timer->order = ++timer_order_;
    std::make_heap(timers_.begin(), timers_.end(), later);
    return 0;
}

int _fdloop_t::remove_timer(int id)
{
    if (std::erase_if(timers_, [id](const Timer& timer) { return timer.id == id; }) == 0)
        return -ENOENT;
    std::make_heap(timers_.begin(), timers_.end(), later);
    return 0;
}

template <typename Callback>
int _fdloop_t::timed(Callback&& callback)
{
    const std::uint64_t start = host::machine_us();
    const int result = callback();
    if (callback_end_ != nullptr)
        callback_end_->callback_ended();
    const std::uint64_t took = host::machine_us() - start;
    ++statistics_.callbacks;
    statistics_.longest_callback_us = std::max(statistics_.longest_callback_us, took);
    return result;
}

void _fdloop_t::run_descriptor(int fd, std::uint32_t generation)
{
    // By value: the callback may register descriptors and so move the table.
    const Watch watch = watches_[static_cast<std::size_t>(fd)];
    if (watch.callback == nullptr || watch.generation != generation) {
        stale_event_ = true;
        return;
    }
    running_ = fd;
    const int result = timed([&] { return watch.callback(fd, watch.user); });
    running_ = -1;
    if (result == 0)
        return;
    const Watch& now = watches_[static_cast<std::size_t>(fd)];
    if (now.callback != nullptr && now.generation == generation)
        forget(fd);
}

void _fdloop_t::run_edges()
{
    changed_files_.clear();
    edges_.collect(changed_files_);
    // A handler may end a later watch and put a new one in its place, which saw no edge.
    std::vector<std::uint32_t> generations;
    for (const int fd : changed_files_)
        generations.push_back(watches_[static_cast<std::size_t>(fd)].generation);
    for (std::size_t i = 0; i < generations.size(); ++i) {
        const int fd = changed_files_[i];
        const Watch& watch = watches_[static_cast<std::size_t>(fd)];
        if (watch.callback != nullptr && watch.generation == generations[i])
            run_descriptor(fd, generations[i]);
    }
}

void _fdloop_t::run_due_timers()
{
    const std::uint64_t now = clock_.now_ms();
    const std::uint64_t newest = timer_order_;
    while (!timers_.empty() && timers_.front().due_ms <= now && timers_.front().order <= newest) {
        const Timer timer = timers_.front();
        std::pop_heap(timers_.begin(), timers_.end(), later);
        timers_.pop_back();
        timed([&] { return timer.callback(timer.user); });
    }
}

bool _fdloop_t::has_deferred() const
{
    return std::any_of(deferred_.begin(), deferred_.end(),
                       [](const host::Deferred* work) { return work->pending(); });
}

bool _fdloop_t::run_deferred()
{
    bool any = false;
    for (host::Deferred* work : deferred_) {
        if (!work->pending())
            continue;
        any = true;
        timed([&] {
            work->run();
            return 0;
        });
    }
    return any;
}

int _fdloop_t::wait_time() const
{
    if (has_deferred())
        return 0;
    if (timers_.empty())
        return -1;
    const std::uint64_t now = clock_.now_ms();
    const std::uint64_t due = timers_.front().due_ms;
    return due <= now ? 0 : static_cast<int>(std::min<std::uint64_t>(due - now, INT_MAX));
}

bool _fdloop_t::turn(int timeout_ms)
{
    std::array<epoll_event, events_per_turn> events;
    const int count = epoll_wait(epoll_.get(), events.data(), events_per_turn, timeout_ms);
    if (count < 0 && errno != EINTR) {
        error_ = -errno;
        log_.write(1, "The event loop cannot wait any more: %s\n", std::strerror(errno));
        stopping_ = true;
        return false;
    }
    ++statistics_.wake_ups;
    for (int i = 0; i < count; ++i) {
        const std::uint64_t tag = events[static_cast<std::size_t>(i)].data.u64;
        const auto generation = static_cast<std::uint32_t>(tag >> 32U);
        if (generation == edges_generation)
            run_edges();
        else
            run_descriptor(static_cast<int>(tag & 0xffffffffU), generation);
    }
    if (stale_event_)
        rebuild_epoll();
    const bool timer_due = !timers_.empty() && timers_.front().due_ms <= clock_.now_ms();
    if (timer_due)
        run_due_timers();
    const bool worked = run_deferred();
    return count > 0 || timer_due || worked;
}

int _fdloop_t::run()
{
    error_ = 0;
    if (callback_end_ != nullptr)
        callback_end_->callback_ended();
    while (!stopping_) {
        const int timeout = wait_time();
        if (timeout > 0 && clock_.is_virtual()) {
            if (!turn(0))
                clock_.advance_to(timers_.front().due_ms);
            continue;
        }
        turn(timeout);
    }
    stopping_ = false;
    return error_;
}

void _fdloop_t::run_for(std::uint64_t milliseconds)
{
    const std::uint64_t end = clock_.now_ms() + milliseconds;
    while (!stopping_) {
        if (turn(0))
            continue;
        const bool timer_in_time = !timers_.empty() && timers_.front().due_ms <= end;
        clock_.advance_to(timer_in_time ? timers_.front().due_ms : end);
        if (!timer_in_time)
            break;
    }
    stopping_ = false;
}
