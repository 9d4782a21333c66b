// SPDX-License-Identifier: MIT
#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <string>

#include "host/log/log.h"

namespace host {

// Who may use the console: a loopback port is open to every local user.
class PeerAccess {
public:
    // The log must outlive the object.
    explicit PeerAccess(Log& log) : log_(log) {}

    // 0 when the other end of the connection `fd` belongs to root or to this process's user.
    // -EACCES when not: one log line says who was refused, and is not repeated until somebody is
    // let in. -EMFILE or -ENFILE, not logged, when there was no descriptor left to look it up with.
    int check(int fd);

private:
    int find_owner(const sockaddr_in& peer, const sockaddr_in& own, uid_t& owner);
    int refuse(const std::string& client);

    Log& log_;
    bool kernel_answers_ = false; // it has told a socket's owner before
    std::string last_refused_;    // anybody on the machine can knock, as often as they like
};

} // namespace host
