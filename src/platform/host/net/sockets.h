// SPDX-License-Identifier: MIT
#pragma once

#include "host/net/peer_access.h"

namespace host {

// The console's server socket and its clients, as in ap/socket.h.
class Sockets {
public:
    // `port` takes the place of every address's own, unless it is 0. The log must outlive the
    // object.
    Sockets(int port, Log& log) : port_(port), log_(log), access_(log) {}

    int create_server(const char* address);

    // A client that check() of PeerAccess does not let in is closed.
    int accept(int listening);

private:
    int port_;
    Log& log_;
    PeerAccess access_;
};

} // namespace host
