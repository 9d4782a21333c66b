// SPDX-License-Identifier: MIT
#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <cstdio>

namespace host {

// Asks the kernel for the user of the TCP socket that is connected from `local` to `remote`, both
// IPv4; a socket of the other address family that goes there through a mapped address counts. Only
// sockets of this machine, in this process's network, are found. Does not block.
//
// 0, or a negative errno: -ENOENT when there is no such socket, or its process has closed it
// already; -EMFILE, -ENFILE without a descriptor to ask with.
int find_socket_owner(const sockaddr_in& local, const sockaddr_in& remote, uid_t& owner);

// The same by a table in the form of /proc/net/tcp or /proc/net/tcp6: all sockets are looked
// through, which takes half a second for 100 000. For a kernel that cannot be asked.
int find_socket_owner(std::FILE* table, const sockaddr_in& local, const sockaddr_in& remote,
                      uid_t& owner);

} // namespace host
