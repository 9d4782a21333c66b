// SPDX-License-Identifier: MIT
// The configuration database and the bus in a Redis server, shared with other processes.
#pragma once

#include <memory>
#include <string>

#include "host/config/change_dispatcher.h"
#include "host/config/store.h"
#include "host/host/settings.h"

namespace host {

// Connects to the server that the settings name, and makes sure that it tells of changes.
// Blocks: some seconds at most, while the server loads its data. Null, and one line in `error`,
// when it cannot be used, or when this build has no client for it. `changes` must outlive the
// store.
std::unique_ptr<Store> open_shared_store(const Settings& settings, ChangeDispatcher& changes,
                                         std::string& error);

} // namespace host
