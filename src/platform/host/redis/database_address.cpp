// SPDX-License-Identifier: MIT
#include "host/redis/database_address.h"

#include <netdb.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "host/base/integer.h"
#include "host/base/text_file.h"

namespace host {
namespace {

constexpr int most_databases = 1'000'000; // the server knows its own limit
constexpr std::size_t longest_password = 512;

bool take_number(std::string_view& text, int& database)
{
    const std::size_t mark = text.rfind('#');
    if (mark == std::string_view::npos)
        return true;
    const std::optional<std::int32_t> number = parse_integer(text.substr(mark + 1));
    text.remove_suffix(text.size() - mark);
    if (!number || *number < 0 || *number > most_databases)
        return false;
    database = *number;
    return true;
}

bool take_host_and_port(std::string_view text, DatabaseAddress& address)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos)
        return false;
    const std::optional<std::int32_t> port = parse_integer(text.substr(colon + 1));
    std::string_view name = text.substr(0, colon);
    if (name.starts_with('[') && name.ends_with(']')) // as IPv6 is written before a port
        name = name.substr(1, name.size() - 2);
    if (!port || *port < 1 || *port > 65535 || name.empty())
        return false;
    address.host = name;
    address.port = std::to_string(*port);
    return true;
}

} // namespace

std::optional<DatabaseAddress> DatabaseAddress::parse(std::string_view text, std::string& error)
{
    constexpr std::string_view unix_prefix = "unix:";
    constexpr std::string_view tcp_prefix = "tcp:";
    DatabaseAddress address;
    std::string_view rest = text;
    bool good = take_number(rest, address.database);
    if (rest.starts_with(unix_prefix)) {
        address.path = rest.substr(unix_prefix.size());
        good = good && address.path.starts_with('/');
    } else {
        good = good && rest.starts_with(tcp_prefix) &&
               take_host_and_port(rest.substr(tcp_prefix.size()), address);
    }
    if (!good) {
        error = "write unix:/path or tcp:host:port, with #N behind it for database N";
        return std::nullopt;
    }
    // The kernel takes no longer one; the last byte is for the NUL that some expect there.
    if (address.path.size() >= sizeof(sockaddr_un::sun_path)) {
        error = "the path of a socket has at most " +
                std::to_string(sizeof(sockaddr_un::sun_path) - 1) + " characters";
        return std::nullopt;
    }
    return address;
}

std::vector<Endpoint> find_endpoints(const DatabaseAddress& address, std::string& error)
{
    std::vector<Endpoint> endpoints;
    if (!address.path.empty()) {
        Endpoint& endpoint = endpoints.emplace_back();
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::memcpy(name.sun_path, address.path.c_str(), address.path.size());
        std::memcpy(&endpoint.address, &name, sizeof name);
        endpoint.size =
            static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.path.size() + 1);
        return endpoints;
    }
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int result = getaddrinfo(address.host.c_str(), address.port.c_str(), &wanted, &found);
    if (result != 0) {
        error = result == EAI_SYSTEM ? std::strerror(errno) : gai_strerror(result);
        return endpoints;
    }
    for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        if (entry->ai_addrlen > sizeof(sockaddr_storage))
            continue;
        Endpoint& endpoint = endpoints.emplace_back();
        std::memcpy(&endpoint.address, entry->ai_addr, entry->ai_addrlen);
        endpoint.size = entry->ai_addrlen;
    }
    freeaddrinfo(found);
    if (endpoints.empty())
        error = "no address";
    return endpoints;
}

std::optional<std::string> read_password(const std::string& file, std::string& error)
{
    const std::optional<std::string> content = read_text(file);
    std::string_view rest = content ? std::string_view(*content) : std::string_view();
    std::optional<std::string_view> line = take_line(rest);
    if (!line) {
        error = file + ": " + (content ? "empty" : std::strerror(errno));
        return std::nullopt;
    }
    if (line->ends_with('\r'))
        line->remove_suffix(1);
    if (line->empty() || line->size() > longest_password) {
        error = file + ": the first line is to be a password of at most " +
                std::to_string(longest_password) + " characters";
        return std::nullopt;
    }
    return std::string(*line);
}

} // namespace host
