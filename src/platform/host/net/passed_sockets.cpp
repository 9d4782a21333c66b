// SPDX-License-Identifier: MIT
#include "host/net/passed_sockets.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

#include "host/base/integer.h"

namespace host {
namespace {

constexpr int first_passed = 3; // behind the standard ones

int number_in(const char* variable)
{
    const char* const text = std::getenv(variable);
    return text == nullptr ? 0 : parse_integer(text).value_or(0);
}

std::optional<sockaddr_in> listening_address(int fd)
{
    int listens = 0;
    socklen_t size = sizeof listens;
    if (getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listens, &size) != 0 || listens == 0)
        return std::nullopt;
    sockaddr_in address{};
    size = sizeof address;
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        address.sin_family != AF_INET)
        return std::nullopt;
    return address;
}

std::string name(const std::optional<sockaddr_in>& address)
{
    std::array<char, INET_ADDRSTRLEN> text{};
    if (!address || inet_ntop(AF_INET, &address->sin_addr, text.data(), INET_ADDRSTRLEN) == nullptr)
        return "another kind";
    return std::string(text.data()) + ":" + std::to_string(ntohs(address->sin_port));
}

} // namespace

PassedSockets::PassedSockets()
{
    const int count = number_in("LISTEN_PID") == getpid() ? number_in("LISTEN_FDS") : 0;
    for (const char* const variable : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"})
        unsetenv(variable);
    for (int i = 0; i < count; ++i) {
        const int fd = first_passed + i;
        if (fcntl(fd, F_SETFD, FD_CLOEXEC) != 0)
            break; // fewer than promised
        sockets_.emplace_back(fd);
    }
}

Descriptor PassedSockets::take(const sockaddr_in& address)
{
    const auto found = std::find_if(sockets_.begin(), sockets_.end(), [&](const Descriptor& fd) {
        const auto own = listening_address(fd.get());
        return own && own->sin_addr.s_addr == address.sin_addr.s_addr &&
               own->sin_port == address.sin_port;
    });
    if (found == sockets_.end())
        return Descriptor();
    Descriptor taken = std::move(*found);
    sockets_.erase(found);
    const int flags = fcntl(taken.get(), F_GETFL);
    return flags >= 0 && fcntl(taken.get(), F_SETFL, flags | O_NONBLOCK) == 0 ? std::move(taken)
                                                                              : Descriptor();
}

std::vector<std::string> PassedSockets::close_rest()
{
    std::vector<std::string> names;
    for (const Descriptor& fd : sockets_)
        names.push_back(name(listening_address(fd.get())));
    sockets_.clear();
    return names;
}

} // namespace host
