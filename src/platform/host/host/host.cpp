// SPDX-License-Identifier: MIT
#include "host/host/host.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ap/log.h"
#include "ap/loop.h"
#include "host/config/memory_store.h"
#include "host/config/seed.h"
#include "host/log/trace.h"
#include "host/loop/stop_signal.h"
#include "host/redis/shared_store.h"

namespace host {
namespace {

std::unique_ptr<Host>& holder()
{
    static std::unique_ptr<Host> host;
    return host;
}

constexpr int bad_setting = 2;
constexpr int no_database = 1;

[[noreturn]] void refuse(const std::string& error, int status = bad_setting)
{
    std::fprintf(stderr, "power_man: %s\n", error.c_str());
    std::exit(status);
}

// Before main(), so that nothing opened later gets the number of a standard descriptor that the
// starter left closed: the log would go there, a device file or the supervisor's socket.
bool hold_standard_descriptors()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        const bool held = fcntl(fd, F_GETFD) >= 0 || open("/dev/null", O_RDWR) == fd;
        if (!held)
            refuse(std::string("/dev/null: ") + std::strerror(errno));
    }
    return true;
}

[[maybe_unused]] const bool standard_descriptors_held = hold_standard_descriptors();

} // namespace

Host::Host()
{
    std::string error;
    const std::optional<Settings> found = Settings::from_environment(error);
    if (!found)
        refuse(error);
    settings = *found;
    if (!settings.database.empty()) {
        store = open_shared_store(settings, changes, error);
        if (!store)
            refuse(error, no_database);
        return;
    }
    store = std::make_unique<MemoryStore>(changes);
    if (!settings.seed_file.empty() && !load_seed(settings.seed_file, *store, error))
        refuse(error);
}

Host& instance()
{
    if (!holder())
        holder() = std::make_unique<Host>();
    return *holder();
}

void forget_instance()
{
    holder().reset();
}

} // namespace host

_fdloop_t* fdloop_init(void)
{
    host::Host& host = host::instance();
    if (host.loop)
        return host.loop.get();
    std::string error;
    if (!host::enable_traces(host.settings.trace, error))
        host::refuse("AP_TRACE: " + error);
    host.loop = _fdloop_t::create();
    if (!host.loop) {
        qv_slog(3, "There can be no loop: %s\n", std::strerror(errno));
        return nullptr;
    }
    if (!host.settings.database.empty() && !host.settings.seed_file.empty())
        qv_slog(4, "AP_DATABASE_SEED is not loaded: the database is shared with others\n");
    if (const int result = host::watch_stop_signals(*host.loop); result != 0) {
        qv_slog(3, "The loop cannot be stopped by a signal: %s\n", std::strerror(-result));
        host.loop.reset();
        return nullptr;
    }
    host.store->attach(*host.loop); // first: what it reads is delivered in the same turn
    host.loop->add_deferred(&host.changes);
    return host.loop.get();
}

int fdloop_loop(_fdloop_t* loop)
{
    return loop->run();
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
