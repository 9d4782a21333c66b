// SPDX-License-Identifier: MIT
#include "host/loop/stop_signal.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>

#include "host/base/descriptor.h"
#include "host/loop/loop.h"

namespace host {
namespace {

// Written by the handler, which may run at any time: one descriptor for the process's life, or
// the negative errno of its making.
int wake_descriptor()
{
    static const int descriptor = [] {
        const int fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        return fd >= 0 ? fd : -errno;
    }();
    return descriptor;
}

void on_stop_signal(int number)
{
    const int saved = errno;
    const std::uint64_t one = 1;
    if (write(wake_descriptor(), &one, sizeof one) < 0 && errno != EAGAIN) {
        std::signal(number, SIG_DFL); // nobody can tell the loop: the process ends all the same
        raise(number);
    }
    errno = saved;
}

int stop_loop(int descriptor, void* user)
{
    std::uint64_t count = 0;
    // It was written to, whatever becomes of that.
    [[maybe_unused]] const ssize_t taken = read(descriptor, &count, sizeof count);
    static_cast<_fdloop_t*>(user)->stop();
    return 0;
}

} // namespace

int watch_stop_signals(_fdloop_t& loop)
{
    const int descriptor = wake_descriptor();
    return descriptor < 0 ? descriptor : loop.add(descriptor, Condition::input, stop_loop, &loop);
}

void handle_stop_signals()
{
    wake_descriptor(); // made here, not inside the handler
    struct sigaction stop {};
    stop.sa_handler = on_stop_signal;
    sigaction(SIGTERM, &stop, nullptr);
    sigaction(SIGINT, &stop, nullptr);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, nullptr);
}

} // namespace host
