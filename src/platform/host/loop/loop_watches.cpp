// SPDX-License-Identifier: MIT
// Which descriptors the loop watches.
#include <sys/epoll.h>

#include <cerrno>

#include "host/loop/loop.h"

namespace {

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
    }
    event.data.u64 = event_tag(fd, generation);
    return event;
}

} // namespace

int _fdloop_t::add(int fd, host::Condition condition, fdloop_fd_callback callback, void* user)
{
    if (fd < 0)
        return -EBADF;
    // A watch that was left on a closed descriptor does not stand in the way: the kernel has
    // dropped its half, and the new one takes its place in the table.
    Watch watch{callback, user, next_generation(), condition, false};
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
        epoll_ctl(fresh.get(), EPOLL_CTL_ADD, fd, &event);
    }
    if (edges_.descriptor() >= 0) {
        epoll_event event =
            event_for(edges_.descriptor(), host::Condition::input, edges_generation);
        epoll_ctl(fresh.get(), EPOLL_CTL_ADD, edges_.descriptor(), &event);
    }
    epoll_ = std::move(fresh);
}
