// SPDX-License-Identifier: MIT
#include "host/net/sockets.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

#include "host/base/descriptor.h"
#include "host/base/integer.h"

namespace host {
namespace {

constexpr int waiting_connections = 16;

// "tcp*HOST*PORT"; `other_port` takes the place of PORT, unless it is 0.
bool parse_address(std::string_view text, int other_port, sockaddr_in& address)
{
    constexpr std::string_view protocol = "tcp*";
    if (!text.starts_with(protocol))
        return false;
    text.remove_prefix(protocol.size());
    const std::size_t star = text.find('*');
    if (star == std::string_view::npos)
        return false;
    const std::string host_text(text.substr(0, star));
    std::optional<std::int32_t> port = parse_integer(text.substr(star + 1));
    if (other_port != 0)
        port = other_port;
    if (!port || *port < 0 || *port > 65535)
        return false;
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(*port));
    return inet_pton(AF_INET, host_text.c_str(), &address.sin_addr) == 1;
}

} // namespace

int Sockets::create_server(const char* text)
{
    sockaddr_in address{};
    if (text == nullptr || !parse_address(text, port_, address)) {
        log_.write(3, "Cannot listen at '%s': write tcp*HOST*PORT\n", text == nullptr ? "" : text);
        return -EINVAL;
    }
    if (Descriptor passed = passed_.take(address); passed)
        return passed.release();
    Descriptor server(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int yes = 1;
    if (server && setsockopt(server.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) == 0 &&
        bind(server.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        listen(server.get(), waiting_connections) == 0)
        return server.release();
    const int error = errno;
    log_.write(3, "Cannot listen at %s, port %u: %s\n", text, ntohs(address.sin_port),
               std::strerror(error));
    return -error;
}

void Sockets::attach(_fdloop_t& loop)
{
    if (!passed_.empty())
        loop.add_timer(0, drop_unclaimed, this);
}

int Sockets::drop_unclaimed(void* self)
{
    auto& sockets = *static_cast<Sockets*>(self);
    for (const std::string& name : sockets.passed_.close_rest())
        sockets.log_.write(4, "Nobody listens at the socket that was passed: %s\n", name.c_str());
    return 0;
}

int Sockets::accept(int listening)
{
    Descriptor client(accept4(listening, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!client)
        return -errno;
    const int error = access_.check(client.get());
    return error == 0 ? client.release() : error;
}

} // namespace host
