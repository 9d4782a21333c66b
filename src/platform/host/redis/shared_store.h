// SPDX-License-Identifier: MIT
// The configuration database and the bus in a Redis server, shared with other processes.
#pragma once

#include <memory>
#include <string>

#include "host/config/change_dispatcher.h"
#include "host/config/store.h"
#include "host/log/log.h"

namespace host {

using GiveUp = void (*)(const std::string& why); // ends the process, with that as its last word

// Where the server is, "unix:/path" or "tcp:host:port", either with "#N" behind it for the database
// of that number, and the file with its password, empty for none.
struct SharedDatabase {
    std::string address;
    std::string password_file;
};

// Connects to the server, which must tell of changes. Blocks: some seconds at most, while the
// server loads its data. Null, and one line in `error`, when it cannot be used, or when this build
// has no client for it. `give_up` is called when the server is lost before the loop runs and
// something had to be read. The objects that it is given must outlive the store.
std::unique_ptr<Store> open_shared_store(const SharedDatabase& database, ChangeDispatcher& changes,
                                         Clock& clock, Log& log, GiveUp give_up,
                                         std::string& error);

} // namespace host
