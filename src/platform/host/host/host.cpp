// SPDX-License-Identifier: MIT
#include "host/host/host.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "host/config/memory_store.h"
#include "host/config/seed.h"
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
constexpr int in_other_hands = 1; // the database cannot be had, or another daemon runs

[[noreturn]] void refuse(const std::string& error, int status = bad_setting)
{
    std::fprintf(stderr, "%s: %s\n", program_invocation_short_name, error.c_str());
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

Settings read_settings()
{
    std::string error;
    const std::optional<Settings> settings = Settings::from_environment(error);
    if (!settings)
        refuse(error);
    return *settings;
}

// The board's directory by its one true name; "/" for the machine's own.
std::string real_path(const std::string& board_root)
{
    std::array<char, PATH_MAX> path;
    const char* const root = board_root.empty() ? "/" : board_root.c_str();
    return realpath(root, path.data()) != nullptr ? path.data() : root;
}

std::unique_ptr<Store> open_store(const Settings& settings, ChangeDispatcher& changes, Clock& clock,
                                  Log& log)
{
    std::string error;
    if (!settings.database.empty()) {
        const auto give_up = [](const std::string& why) { refuse(why, in_other_hands); };
        auto store = open_shared_store({settings.database, settings.password_file}, changes, clock,
                                       log, give_up, error);
        if (!store)
            refuse(error, in_other_hands);
        return store;
    }
    auto store = std::make_unique<MemoryStore>(changes);
    if (!settings.seed_file.empty() && !load_seed(settings.seed_file, *store, error))
        refuse("AP_DATABASE_SEED: " + error);
    return store;
}

} // namespace

Host::Host(Settings given)
    : settings(std::move(given)), journal(clock), log(journal, settings.log_level),
      store(open_store(settings, changes, clock, log)), absence(*store),
      configuration(*store, changes, journal), bus(*store, journal, clock), bus_name(log),
      devices(settings.board_root, journal, log), sockets(settings.console_port, log),
      supervision(log), shells{configuration, journal, bus, traces, loop, clock},
      terminal(shells, log)
{
}

_fdloop_t* Host::make_loop()
{
    if (loop)
        return loop.get();
    std::string error;
    if (!traces.enable(settings.trace, error))
        refuse("AP_TRACE: " + error);
    loop = _fdloop_t::create(clock, log);
    if (!loop) {
        log.write(3, "There can be no loop: %s\n", std::strerror(errno));
        return nullptr;
    }
    for (const std::string& name : settings.unknown)
        log.write(4, "%s: there is no such variable; it has no effect\n", name.c_str());
    if (!settings.database.empty() && !settings.seed_file.empty())
        log.write(4, "AP_DATABASE_SEED is not loaded: the database is shared with others\n");
    if (const int result = watch_stop_signals(*loop); result != 0) {
        log.write(3, "The loop cannot be stopped by a signal: %s\n", std::strerror(-result));
        loop.reset();
        return nullptr;
    }
    store->attach(*loop); // first: what it reads is delivered in the same turn
    loop->add_deferred(&changes);
    loop->add_deferred(&absence);
    sockets.attach(*loop);
    return loop.get();
}

_cbus_conn_t* Host::connect_bus(std::string_view name)
{
    if (!loop)
        return nullptr;
    const std::string board = real_path(settings.board_root);
    std::string error;
    if (!bus_name.take(name, board + " " + settings.database, *loop, error))
        refuse(error, in_other_hands);
    return &bus;
}

Host& instance()
{
    if (!holder())
        make_instance(read_settings());
    return *holder();
}

Host& make_instance(Settings settings)
{
    holder() = std::make_unique<Host>(std::move(settings));
    return *holder();
}

void forget_instance()
{
    holder().reset();
}

} // namespace host
