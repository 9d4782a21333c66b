// SPDX-License-Identifier: MIT
#pragma once

#include <netinet/in.h>

#include <string>
#include <vector>

#include "host/base/descriptor.h"

namespace host {

// Listening sockets that this process's starter has opened for it: the protocol of
// sd_listen_fds(3).
class PassedSockets {
public:
    // Takes them over: they are close-on-exec from now on, and the variables that told of them are
    // no longer set.
    PassedSockets();

    // The one that listens at that address, in a form that never blocks; none if there is none.
    Descriptor take(const sockaddr_in& address);

    bool empty() const { return sockets_.empty(); }

    // Closes those that are left, and names them: "127.0.0.1:2205", or "another kind".
    std::vector<std::string> close_rest();

private:
    std::vector<Descriptor> sockets_;
};

} // namespace host
