// SPDX-License-Identifier: MIT
// The application manager's part is played by whoever reads the socket in NOTIFY_SOCKET: the
// sd_notify protocol, one datagram for each message.
#include "ap/supervision.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "ap/log.h"
#include "host/base/descriptor.h"
#include "host/loop/loop.h"

namespace host {
namespace {

struct Supervision {
    _fdloop_t* loop = nullptr;
    std::uint64_t dead_time_ms = 0; // 0: nobody waits for signs of life
    int timer = 0;
    bool failing = false; // the last message was lost, and that was logged
};

Supervision& supervision()
{
    static Supervision state;
    return state;
}

bool notify(std::string_view message)
{
    const char* const path = std::getenv("NOTIFY_SOCKET");
    if (path == nullptr || *path == '\0')
        return true;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::size_t length = std::strlen(path);
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    bool sent = false;
    if (length < sizeof address.sun_path && socket) {
        std::memcpy(address.sun_path, path, length);
        if (address.sun_path[0] == '@')
            address.sun_path[0] = '\0'; // a name without a file
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
        sent = sendto(socket.get(), message.data(), message.size(), MSG_NOSIGNAL,
                      reinterpret_cast<const sockaddr*>(&address), size) >= 0;
    } else if (socket) {
        errno = ENAMETOOLONG;
    }
    if (!sent && !supervision().failing)
        qv_slog(4, "Supervision at %s is not reached: %s\n", path, std::strerror(errno));
    supervision().failing = !sent;
    return sent;
}

int beat(void*);

// Half the dead time: one beat may be late without harm. There is one timer at most.
void schedule_beat()
{
    Supervision& state = supervision();
    if (state.loop == nullptr || state.dead_time_ms == 0)
        return;
    const std::uint64_t wait = std::max<std::uint64_t>(state.dead_time_ms / 2, 1);
    if (state.timer == 0 || state.loop->restart_timer(state.timer, wait) != 0)
        state.timer = state.loop->add_timer(wait, beat, nullptr);
}

int beat(void*)
{
    supervision().timer = 0;
    if (supervision().dead_time_ms > 0) // nobody may wait any more
        notify("WATCHDOG=1");
    schedule_beat();
    return 0;
}

std::uint64_t dead_time_from_environment()
{
    const char* const text = std::getenv("WATCHDOG_USEC");
    if (text == nullptr || std::getenv("NOTIFY_SOCKET") == nullptr)
        return 0;
    std::uint64_t microseconds = 0;
    const char* const end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, microseconds);
    return error == std::errc{} && stop == end ? microseconds / 1000U : 0;
}

} // namespace
} // namespace host

int appmgr_alive_fdloop_register(_fdloop_t* loop)
{
    host::Supervision& state = host::supervision();
    if (state.loop != loop)
        state = {};
    state.loop = loop;
    state.dead_time_ms = host::dead_time_from_environment();
    host::schedule_beat();
    return 0;
}

int appmgr_set_dead_time(unsigned int milliseconds)
{
    host::Supervision& state = host::supervision();
    if (std::getenv("NOTIFY_SOCKET") == nullptr)
        return 0;
    state.dead_time_ms = milliseconds;
    host::schedule_beat();
    const std::string message = "WATCHDOG_USEC=" + std::to_string(1000ULL * milliseconds);
    return host::notify(message) ? 0 : -EIO;
}

int appmgr_signal(void)
{
    return host::notify("READY=1") ? 0 : -EIO;
}
