// SPDX-License-Identifier: MIT
#include "ap/loop.h"

#include <cerrno>

#include "host/host/host.h"

_fdloop_t* fdloop_init(void)
{
    return host::instance().make_loop();
}

int fdloop_loop(_fdloop_t* loop)
{
    const int result = loop->run();
    host::instance().supervision.announce_stop();
    return result;
}

int fdloop_fd_register(_fdloop_t* loop, int fd, fdloop_fd_callback callback, void* user)
{
    return loop->add(fd, host::Condition::input, callback, user);
}

int fdloop_fd_register_except(_fdloop_t* loop, int fd, fdloop_fd_callback callback, void* user)
{
    return loop->add(fd, host::Condition::exception, callback, user);
}

int fdloop_fd_unregister_except(_fdloop_t* loop, int fd)
{
    return loop->remove(fd, host::Condition::exception);
}

int fdloop_timer_add(_fdloop_t* loop, unsigned int milliseconds, fdloop_timer_callback callback,
                     void* user)
{
    return loop->add_timer(milliseconds, callback, user);
}

int fdloop_timer_set_interval(int timer_id, unsigned int milliseconds)
{
    const auto& loop = host::instance().loop;
    return loop ? loop->restart_timer(timer_id, milliseconds) : -ENOENT;
}
