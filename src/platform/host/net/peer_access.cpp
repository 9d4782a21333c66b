// SPDX-License-Identifier: MIT
#include "host/net/peer_access.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

namespace host {
namespace {

// A socket of the other address family reaches an IPv4 port through a mapped address.
constexpr std::array tables = {"/proc/net/tcp", "/proc/net/tcp6"};
constexpr const char* mapped_prefix = "0000000000000000FFFF0000";

// As the tables print it: the address as the machine reads its bytes, the port as a number.
std::string table_form(const sockaddr_in& address)
{
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%08X:%04X", address.sin_addr.s_addr,
                  static_cast<unsigned int>(ntohs(address.sin_port)));
    return text.data();
}

bool same_end(const char* column, const std::string& end)
{
    const std::size_t prefix = std::strlen(mapped_prefix);
    if (std::strncmp(column, mapped_prefix, prefix) == 0)
        column += prefix;
    return end == column;
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

bool get_ends(int fd, sockaddr_in& peer, sockaddr_in& own)
{
    socklen_t peer_size = sizeof peer;
    socklen_t own_size = sizeof own;
    return getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peer_size) == 0 &&
           getsockname(fd, reinterpret_cast<sockaddr*>(&own), &own_size) == 0 &&
           peer.sin_family == AF_INET && own.sin_family == AF_INET;
}

} // namespace

std::optional<uid_t> find_owner(std::FILE* table, const sockaddr_in& peer, const sockaddr_in& own)
{
    const std::string from = table_form(peer);
    const std::string to = table_form(own);
    std::array<char, 512> line; // the kernel's are shorter
    while (std::fgets(line.data(), static_cast<int>(line.size()), table) != nullptr) {
        std::array<char, 48> local{};
        std::array<char, 48> remote{};
        unsigned int owner = 0;
        unsigned long inode = 0;
        // A socket that its process has closed already has no inode, and is listed as root's.
        if (std::sscanf(line.data(), "%*s %47s %47s %*s %*s %*s %*s %u %*s %lu", local.data(),
                        remote.data(), &owner, &inode) == 4 &&
            inode != 0 && same_end(local.data(), from) && same_end(remote.data(), to))
            return static_cast<uid_t>(owner);
    }
    return std::nullopt;
}

int PeerAccess::refuse(const std::string& client)
{
    if (std::exchange(last_refused_, client) != client)
        log_.write(4, "Console: a client %s is refused\n", client.c_str());
    return -EACCES;
}

int PeerAccess::check(int fd)
{
    sockaddr_in peer{};
    sockaddr_in own{};
    if (!get_ends(fd, peer, own))
        return refuse("that is gone already");
    for (const char* const name : tables) {
        const std::unique_ptr<std::FILE, CloseFile> table(std::fopen(name, "re"));
        if (!table && (errno == EMFILE || errno == ENFILE))
            return -errno;
        const std::optional<uid_t> owner =
            table ? find_owner(table.get(), peer, own) : std::nullopt;
        if (!owner)
            continue;
        if (*owner != 0 && *owner != geteuid())
            return refuse("of user " + std::to_string(*owner));
        last_refused_.clear();
        return 0;
    }
    return refuse(std::string("without an owner in ") + tables[0]);
}

} // namespace host
