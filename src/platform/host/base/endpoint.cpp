// SPDX-License-Identifier: MIT
#include "host/base/endpoint.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include "host/base/integer.h"

namespace host {
namespace {

constexpr const char* form = "write unix:/path or tcp:host:port";
constexpr int highest_port = 65535;
// The kernel takes no longer one; the last byte is for the NUL that some expect there.
constexpr std::size_t longest_path = sizeof(sockaddr_un::sun_path) - 1;

std::vector<Endpoint> find_path(std::string_view path, std::string& error)
{
    if (!path.starts_with('/')) {
        error = form;
        return {};
    }
    if (path.size() > longest_path) {
        error = "the path of a socket has at most " + std::to_string(longest_path) + " characters";
        return {};
    }
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    path.copy(name.sun_path, longest_path);
    Endpoint endpoint{};
    std::memcpy(&endpoint.address, &name, sizeof name);
    endpoint.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size() + 1);
    return {endpoint};
}

std::vector<Endpoint> find_host(std::string_view text, std::string& error)
{
    const std::size_t colon = std::min(text.rfind(':'), text.size());
    std::string_view name = text.substr(0, colon);
    if (name.starts_with('[') && name.ends_with(']')) // as IPv6 is written before a port
        name = name.substr(1, name.size() - 2);
    const std::optional<std::int32_t> port =
        parse_integer(text.substr(std::min(colon + 1, text.size())));
    if (name.empty() || !port || *port < 1 || *port > highest_port) {
        error = form;
        return {};
    }
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int result =
        getaddrinfo(std::string(name).c_str(), std::to_string(*port).c_str(), &wanted, &found);
    if (result != 0) {
        error = result == EAI_SYSTEM ? std::strerror(errno) : gai_strerror(result);
        return {};
    }
    std::vector<Endpoint> endpoints;
    for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        Endpoint& endpoint = endpoints.emplace_back();
        endpoint.size = std::min<socklen_t>(entry->ai_addrlen, sizeof endpoint.address);
        std::memcpy(&endpoint.address, entry->ai_addr, endpoint.size);
    }
    freeaddrinfo(found);
    return endpoints;
}

} // namespace

std::vector<Endpoint> find_endpoints(std::string_view text, std::string& error)
{
    constexpr std::string_view unix_prefix = "unix:";
    constexpr std::string_view tcp_prefix = "tcp:";
    if (text.starts_with(unix_prefix))
        return find_path(text.substr(unix_prefix.size()), error);
    if (text.starts_with(tcp_prefix))
        return find_host(text.substr(tcp_prefix.size()), error);
    error = form;
    return {};
}

Descriptor connect_to(const Endpoint& endpoint)
{
    const int family = endpoint.address.ss_family;
    Descriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket)
        return socket;
    const int yes = 1;
    if (family != AF_UNIX) {
        setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        setsockopt(socket.get(), SOL_SOCKET, SO_KEEPALIVE, &yes, sizeof yes);
    }
    const auto* const address = reinterpret_cast<const sockaddr*>(&endpoint.address);
    if (connect(socket.get(), address, endpoint.size) == 0 || errno == EINPROGRESS)
        return socket;
    const int error = errno;
    socket = Descriptor();
    errno = error;
    return socket;
}

} // namespace host
