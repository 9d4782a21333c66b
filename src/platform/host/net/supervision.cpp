// SPDX-License-Identifier: MIT
#include "host/net/supervision.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/base/descriptor.h"

namespace host {
namespace {

constexpr std::size_t longest_status = 200;
constexpr std::uint64_t ready_again_ms = 1000;

const char* supervisor()
{
    const char* const path = std::getenv("NOTIFY_SOCKET");
    return path != nullptr && *path != '\0' ? path : nullptr;
}

std::uint64_t dead_time_from_environment()
{
    const char* const text = std::getenv("WATCHDOG_USEC");
    if (text == nullptr || supervisor() == nullptr)
        return 0;
    std::uint64_t microseconds = 0;
    const char* const end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, microseconds);
    return error == std::errc{} && stop == end ? microseconds / 1000U : 0;
}

// 0 or a negative errno.
int send_datagram(const char* path, std::string_view message)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::size_t length = std::strlen(path);
    if (length >= sizeof address.sun_path)
        return -ENAMETOOLONG;
    std::memcpy(address.sun_path, path, length);
    if (address.sun_path[0] == '@')
        address.sun_path[0] = '\0'; // a name without a file
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    const bool sent = socket && sendto(socket.get(), message.data(), message.size(), MSG_NOSIGNAL,
                                       reinterpret_cast<const sockaddr*>(&address), size) >= 0;
    return sent ? 0 : -errno;
}

} // namespace

bool Supervision::notify(std::string_view message)
{
    const char* const path = supervisor();
    if (path == nullptr)
        return true;
    const int error = send_datagram(path, message);
    if (error != 0 && !failing_)
        log_.write(4, "Supervision at %s is not reached: %s\n", path, std::strerror(-error));
    failing_ = error != 0;
    return !failing_;
}

// Half the dead time: one beat may be late without harm. There is one timer at most.
void Supervision::schedule_beat()
{
    if (loop_ == nullptr || dead_time_ms_ == 0)
        return;
    const std::uint64_t wait = std::max<std::uint64_t>(dead_time_ms_ / 2, 1);
    if (timer_ == 0 || loop_->restart_timer(timer_, wait) != 0)
        timer_ = loop_->add_timer(wait, beat, this);
}

int Supervision::beat(void* self)
{
    auto& supervision = *static_cast<Supervision*>(self);
    supervision.timer_ = 0;
    if (supervision.dead_time_ms_ > 0) // nobody may wait any more
        supervision.notify("WATCHDOG=1");
    supervision.schedule_beat();
    return 0;
}

int Supervision::give_signs(_fdloop_t* loop)
{
    if (loop_ != loop)
        timer_ = 0;
    loop_ = loop;
    dead_time_ms_ = dead_time_from_environment();
    schedule_beat();
    return 0;
}

int Supervision::set_dead_time(std::uint64_t milliseconds)
{
    if (supervisor() == nullptr)
        return 0;
    const bool told = notify("WATCHDOG_USEC=" + std::to_string(1000U * milliseconds));
    const bool sooner = dead_time_ms_ == 0 || (milliseconds != 0 && milliseconds < dead_time_ms_);
    if (told || sooner) // a manager that was not told waits no longer than before
        dead_time_ms_ = milliseconds;
    schedule_beat();
    return told ? 0 : -EIO;
}

// Again until it is heard: the manager ends what is not ready in time.
int Supervision::say_ready(void* self)
{
    auto& supervision = *static_cast<Supervision*>(self);
    if (supervision.notify("READY=1"))
        return 0;
    if (supervision.loop_ != nullptr)
        supervision.loop_->add_timer(ready_again_ms, say_ready, self);
    return -EIO;
}

int Supervision::announce_ready()
{
    if (loop_ == nullptr)
        return say_ready(this);
    loop_->add_timer(0, say_ready, this);
    return 0;
}

void Supervision::announce_stop()
{
    notify("STOPPING=1");
}

int Supervision::set_status(std::string_view text)
{
    text = text.substr(0, std::min(text.find('\n'), longest_status));
    if (text == status_)
        return 0;
    status_ = text;
    if (notify("STATUS=" + status_))
        return 0;
    status_.clear(); // to be sent again
    return -EIO;
}

} // namespace host
