// SPDX-License-Identifier: MIT
#include "host/bus/bus_name.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>

namespace host {
namespace {

constexpr int waiting_connections = 16;
constexpr std::size_t longest_name = 64;

struct Address {
    sockaddr_un name{};
    socklen_t size = 0;

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&name); }
};

// FNV-1a: a scope may be longer than a socket's name.
std::uint64_t hash(std::string_view text)
{
    std::uint64_t value = 14695981039346656037U;
    for (const char c : text)
        value = (value ^ static_cast<unsigned char>(c)) * 1099511628211U;
    return value;
}

Address address_of(std::string_view name, std::string_view scope)
{
    Address address;
    address.name.sun_family = AF_UNIX;
    // The first byte stays 0: a name without a file.
    const int length =
        std::snprintf(address.name.sun_path + 1, sizeof address.name.sun_path - 1,
                      "ap/bus/%.*s/%016llx", static_cast<int>(std::min(name.size(), longest_name)),
                      name.data(), static_cast<unsigned long long>(hash(scope)));
    address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1) +
                   static_cast<socklen_t>(length);
    return address;
}

Descriptor open_socket()
{
    return Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

// Who listens at that address; nobody when nobody answers.
std::optional<ucred> holder_of(const Address& address)
{
    const Descriptor client = open_socket();
    ucred holder{};
    socklen_t size = sizeof holder;
    if (!client || connect(client.get(), address.get(), address.size) != 0 ||
        getsockopt(client.get(), SOL_SOCKET, SO_PEERCRED, &holder, &size) != 0)
        return std::nullopt;
    return holder;
}

} // namespace

bool BusName::take(std::string_view name, std::string_view scope, _fdloop_t& loop,
                   std::string& error)
{
    if (socket_)
        return true;
    const Address address = address_of(name, scope);
    Descriptor socket = open_socket();
    if (socket && bind(socket.get(), address.get(), address.size) == 0 &&
        listen(socket.get(), waiting_connections) == 0 &&
        loop.add(socket.get(), Condition::input, answer, nullptr) == 0) {
        socket_ = std::move(socket);
        return true;
    }
    const int reason = errno;
    const std::optional<ucred> holder = reason == EADDRINUSE ? holder_of(address) : std::nullopt;
    if (holder && (holder->uid == 0 || holder->uid == geteuid())) {
        error = "the process " + std::to_string(holder->pid) + " is '" + std::string(name) +
                "' for this board and database already";
        return false;
    }
    log_.write(4,
               "The bus name '%.*s' cannot be taken (%s): a second daemon would not be noticed\n",
               static_cast<int>(name.size()), name.data(), std::strerror(reason));
    return true;
}

// Whoever asks learns the holder from the connection itself.
int BusName::answer(int fd, void*)
{
    const Descriptor client(accept4(fd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    return 0;
}

} // namespace host
