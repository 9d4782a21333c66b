// SPDX-License-Identifier: MIT
#pragma once

#include "host/log/log.h"
#include "host/loop/loop.h"
#include "host/net/passed_sockets.h"
#include "host/net/peer_access.h"

namespace host {

// The console's server socket and its clients, as in ap/socket.h.
class Sockets {
public:
    // `port` takes the place of every address's own, unless it is 0. The log must outlive the
    // object.
    Sockets(int port, Log& log) : port_(port), log_(log), access_(log) {}

    // A socket that was passed for the address is taken; else one is made.
    int create_server(const char* address);

    // Passed sockets that nobody has asked for when the loop first turns are named in the log.
    void attach(_fdloop_t& loop);

    // A client that check() of PeerAccess does not let in is closed.
    int accept(int listening);

private:
    static int drop_unclaimed(void* self);

    int port_;
    Log& log_;
    PassedSockets passed_;
    PeerAccess access_;
};

} // namespace host
