// SPDX-License-Identifier: MIT
// Who may use the console: a loopback port is open to every local user.
#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <cstdio>
#include <optional>

namespace host {

// The owner of the socket that is connected from `peer` to `own`, both IPv4, as a table in the
// form of /proc/net/tcp or /proc/net/tcp6 says; empty when the table does not have it.
std::optional<uid_t> find_owner(std::FILE* table, const sockaddr_in& peer, const sockaddr_in& own);

// True when the other end of the connection `fd` belongs to root or to this process's user. One
// log line says who was refused.
bool peer_is_trusted(int fd);

} // namespace host
