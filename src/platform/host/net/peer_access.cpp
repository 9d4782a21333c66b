// SPDX-License-Identifier: MIT
#include "host/net/peer_access.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <utility>

#include "host/net/socket_owner.h"

namespace host {
namespace {

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

bool lacks_descriptor(int error)
{
    return error == -EMFILE || error == -ENFILE;
}

// A service's sandbox may hide /proc/net, never what stands below its own process.
int find_in_tables(const sockaddr_in& peer, const sockaddr_in& own, uid_t& owner)
{
    for (const char* const name : {"/proc/self/net/tcp", "/proc/self/net/tcp6"}) {
        const std::unique_ptr<std::FILE, CloseFile> table(std::fopen(name, "re"));
        if (!table && lacks_descriptor(-errno))
            return -errno;
        if (table && find_socket_owner(table.get(), peer, own, owner) == 0)
            return 0;
    }
    return -ENOENT;
}

} // namespace

int PeerAccess::refuse(const std::string& client)
{
    if (std::exchange(last_refused_, client) != client)
        log_.write(4, "Console: a client %s is refused\n", client.c_str());
    return -EACCES;
}

// A kernel may be built without the query, and an emulator may not know it. It says "no such
// socket" then, as it does for one that is gone: the console's listening socket is there for
// certain.
int PeerAccess::find_owner(const sockaddr_in& peer, const sockaddr_in& own, uid_t& owner)
{
    const int error = find_socket_owner(peer, own, owner);
    if (error == 0)
        kernel_answers_ = true;
    if (error == 0 || lacks_descriptor(error))
        return error;
    if (!kernel_answers_) {
        uid_t listener = 0;
        kernel_answers_ = find_socket_owner(own, sockaddr_in{}, listener) == 0;
    }
    return kernel_answers_ ? error : find_in_tables(peer, own, owner);
}

int PeerAccess::check(int fd)
{
    sockaddr_in peer{};
    sockaddr_in own{};
    if (!get_ends(fd, peer, own))
        return refuse("that is gone already");
    uid_t owner = 0;
    const int error = find_owner(peer, own, owner);
    if (lacks_descriptor(error))
        return error;
    if (error != 0)
        return refuse("whose user the kernel does not tell");
    if (owner != 0 && owner != geteuid())
        return refuse("of user " + std::to_string(owner));
    last_refused_.clear();
    return 0;
}

} // namespace host
