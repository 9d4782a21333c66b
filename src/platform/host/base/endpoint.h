// SPDX-License-Identifier: MIT
// Where a server is: "unix:/path" or "tcp:host:port".
#pragma once

#include <sys/socket.h>

#include <string>
#include <string_view>
#include <vector>

#include "host/base/descriptor.h"

namespace host {

struct Endpoint {
    sockaddr_storage address;
    socklen_t size;
};

// What the text stands for; none, and why in `error`, for one of another form or an unknown name.
// Looks a name up, which may block for long: at a start only.
std::vector<Endpoint> find_endpoints(std::string_view text, std::string& error);

// A socket that is connected, or on its way to be, and never blocks. None, and errno, when that
// fails at once.
Descriptor connect_to(const Endpoint& endpoint);

} // namespace host
