// SPDX-License-Identifier: MIT
// The configuration database and the bus in a Redis server, shared with other processes.
#pragma once

#include <memory>
#include <string>

#include "host/config/change_dispatcher.h"
#include "host/config/store.h"
#include "host/log/log.h"

namespace host {

// Connects to the server at an address of database_address.h, and makes sure that it tells of
// changes; `password_file` may be empty. Blocks: some seconds at most, while the server loads its
// data. Null, and one line in `error`, when it cannot be used, or when this build has no client for
// it. The objects that it is given must outlive the store.
std::unique_ptr<Store> open_shared_store(const std::string& address,
                                         const std::string& password_file,
                                         ChangeDispatcher& changes, const Clock& clock, Log& log,
                                         std::string& error);

} // namespace host
