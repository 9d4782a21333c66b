// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "host/base/descriptor.h"
#include "host/log/log.h"
#include "host/loop/loop.h"

namespace host {

// The name of a daemon on the bus, taken once for each board and database of this machine: two
// daemons of one name would switch the same ports by turns.
//
// A name is an abstract Unix socket, which the kernel gives back when the process ends, however it
// ends. Anybody may take such a socket, so it counts only as long as root or this process's user
// holds it: otherwise any user could keep the daemon from starting.
class BusName {
public:
    // The log must outlive the object.
    explicit BusName(Log& log) : log_(log) {}

    // Takes the name within `scope`, and answers whoever asks for its holder from the loop. False,
    // and why in `error`, when another daemon has it. A second call changes nothing.
    bool take(std::string_view name, std::string_view scope, _fdloop_t& loop, std::string& error);

private:
    static int answer(int fd, void* user);

    Log& log_;
    Descriptor socket_;
};

} // namespace host
