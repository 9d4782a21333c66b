// SPDX-License-Identifier: MIT
// Everything that this implementation of the platform holds, once per process.
#pragma once

#include <memory>

#include "host/bus/bus.h"
#include "host/config/change_dispatcher.h"
#include "host/config/store.h"
#include "host/host/settings.h"
#include "host/log/journal.h"
#include "host/loop/loop.h"

namespace host {

struct Host {
    Settings settings;
    Journal journal;
    SignalLog signals;
    ChangeDispatcher changes;
    std::unique_ptr<Store> store;
    std::unique_ptr<_fdloop_t> loop;
    std::unique_ptr<_cbus_conn_t> bus;
    bool connected = false; // the database answers

    Host();
};

// Made on first use, from the environment; what is wrong there is said in one line on standard
// error, and the process exits with 2, or with 1 when the shared database cannot be used.
Host& instance();

// For tests: the next use of instance() starts afresh.
void forget_instance();

} // namespace host
