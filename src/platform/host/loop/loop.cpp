// SPDX-License-Identifier: MIT
#include "host/loop/loop.h"

#include <sys/epoll.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

namespace {

constexpr std::uint64_t never = UINT64_MAX;

constexpr std::uint64_t event_tag(int fd, std::uint32_t generation)
{
    return (std::uint64_t{generation} << 32U) | static_cast<std::uint32_t>(fd);
}

epoll_event event_for(int fd, host::Condition condition, std::uint32_t generation)
{
    epoll_event event{};
    switch (condition) {
    case host::Condition::input:
        event.events = EPOLLIN;
        break;
    case host::Condition::output:
        event.events = EPOLLOUT;
        break;
    case host::Condition::exception:
        event.events = EPOLLPRI;
        break;
    case host::Condition::hangup:
        event.events = EPOLLRDHUP;
        break;
    }
    event.data.u64 = event_tag(fd, generation);
    return event;
}

} // namespace

std::unique_ptr<_fdloop_t> _fdloop_t::create(host::Clock& clock, host::Log& log)
{
    host::Descriptor epoll(epoll_create1(EPOLL_CLOEXEC));
    if (!epoll)
        return nullptr;
    return std::unique_ptr<_fdloop_t>(new _fdloop_t(clock, log, std::move(epoll)));
}

int _fdloop_t::add(int fd, host::Condition condition, fdloop_fd_callback callback, void* user)
{
    if (fd < 0)
        return -EBADF;
    // A watch that was left on a closed descriptor does not stand in the way: the kernel has
    // dropped its half, and the new one takes its place in the table.
    Watch watch{callback, user, next_generation(), condition};
    epoll_event event = event_for(fd, condition, watch.generation);
    const bool polled = epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event) == 0;
    if (!polled && (errno != EPERM || condition != host::Condition::exception))
        return -errno;
    // Only now: before, the number could be anything.
    const auto index = static_cast<std::size_t>(fd);
    if (index >= watches_.size())
        watches_.resize(index + 1);
    const bool had_plain_file = watches_[index].callback != nullptr && watches_[index].plain_file;
    // A plain file's handler may have closed it and opened another that got its number.
    if (!polled && had_plain_file && fd != running_)
        return -EEXIST;
    if (had_plain_file)
        edges_.remove(fd);
    watches_[index].callback = nullptr;
    if (const int result = polled ? 0 : watch_plain_file(fd, watch); result != 0)
        return result;
    watches_[index] = watch;
    return 0;
}

int _fdloop_t::watch_plain_file(int fd, Watch& watch)
{
    if (const int result = edges_.add(fd); result != 0)
        return result;
    epoll_event event = event_for(edges_.descriptor(), host::Condition::input, edges_generation);
    if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, edges_.descriptor(), &event) != 0 &&
        errno != EEXIST) {
        const int error = errno;
        edges_.remove(fd);
        return -error;
    }
    watch.plain_file = true;
    return 0;
}

// Tells a watch from every earlier one of the same descriptor number.
std::uint32_t _fdloop_t::next_generation()
{
    if (++generation_ == edges_generation)
        ++generation_;
    return generation_;
}

int _fdloop_t::remove(int fd, host::Condition condition)
{
    if (fd < 0 || static_cast<std::size_t>(fd) >= watches_.size())
        return -ENOENT;
    const Watch& watch = watches_[static_cast<std::size_t>(fd)];
    if (watch.callback == nullptr || watch.condition != condition)
        return -ENOENT;
    forget(fd);
    return 0;
}

void _fdloop_t::set_suspended(int fd, bool suspended)
{
    if (fd < 0 || static_cast<std::size_t>(fd) >= watches_.size())
        return;
    Watch& watch = watches_[static_cast<std::size_t>(fd)];
    if (watch.callback == nullptr || watch.plain_file)
        return;
    watch.suspended = suspended;
    epoll_event event = event_for(fd, watch.condition, watch.generation);
    if (suspended)
        event.events = 0; // and what the kernel always adds: errors, the end
    epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, fd, &event); // fails when it is closed: as well
}

void _fdloop_t::forget(int fd)
{
    Watch& watch = watches_[static_cast<std::size_t>(fd)];
    if (watch.plain_file)
        edges_.remove(fd);
    else
        epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, fd, nullptr); // fails when it is closed: as well
    watch.callback = nullptr;
}

// An event of a watch that is gone came from the kernel all the same: its descriptor was closed
// while a duplicate lives on, and no call can name it any more. Left alone it would wake the
// loop for ever; a fresh epoll instance with the living watches is rid of it.
void _fdloop_t::rebuild_epoll()
{
    stale_event_ = false;
    host::Descriptor fresh(epoll_create1(EPOLL_CLOEXEC));
    if (!fresh)
        return; // out of descriptors: the next turn tries again
    for (std::size_t i = 0; i < watches_.size(); ++i) {
        const Watch& watch = watches_[i];
        if (watch.callback == nullptr || watch.plain_file)
            continue;
        const int fd = static_cast<int>(i);
        epoll_event event = event_for(fd, watch.condition, watch.generation);
        if (watch.suspended)
            event.events = 0;
        epoll_ctl(fresh.get(), EPOLL_CTL_ADD, fd, &event);
    }
    if (edges_.descriptor() >= 0) {
        epoll_event event =
            event_for(edges_.descriptor(), host::Condition::input, edges_generation);
        epoll_ctl(fresh.get(), EPOLL_CTL_ADD, edges_.descriptor(), &event);
    }
    epoll_ = std::move(fresh);
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
    const std::uint64_t newest = timers_.newest();
    while (const auto timer = timers_.take_due(now, newest))
        timed([&] { return timer->callback(timer->user); });
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
    const auto due = timers_.next_due_ms();
    if (!due)
        return -1;
    const std::uint64_t now = clock_.now_ms();
    return *due <= now ? 0 : static_cast<int>(std::min<std::uint64_t>(*due - now, INT_MAX));
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
    return work() || count > 0;
}

bool _fdloop_t::work()
{
    const bool timer_due = timers_.next_due_ms().value_or(never) <= clock_.now_ms();
    if (timer_due)
        run_due_timers();
    const bool worked = run_deferred();
    return timer_due || worked;
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
                clock_.advance_to(timers_.next_due_ms().value_or(0));
            continue;
        }
        turn(timeout);
    }
    stopping_ = false;
    return error_;
}

template <typename Turn>
void _fdloop_t::run_turns(std::uint64_t milliseconds, Turn&& turn)
{
    const std::uint64_t end = clock_.now_ms() + milliseconds;
    while (!stopping_) {
        if (turn())
            continue;
        const std::uint64_t due = timers_.next_due_ms().value_or(never);
        clock_.advance_to(std::min(due, end));
        if (due > end)
            break;
    }
    stopping_ = false;
}

void _fdloop_t::run_for(std::uint64_t milliseconds)
{
    run_turns(milliseconds, [this] { return turn(0); });
}

void _fdloop_t::run_unpolled(std::uint64_t milliseconds)
{
    run_turns(milliseconds, [this] { return work(); });
}
