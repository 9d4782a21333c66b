// SPDX-License-Identifier: MIT
// Everything that this implementation of the platform holds, once per process.
#pragma once

#include <memory>

#include "host/base/clock.h"
#include "host/board/devices.h"
#include "host/bus/bus.h"
#include "host/bus/bus_name.h"
#include "host/config/absence.h"
#include "host/config/change_dispatcher.h"
#include "host/config/configuration.h"
#include "host/host/settings.h"
#include "host/log/journal.h"
#include "host/log/log.h"
#include "host/log/trace_groups.h"
#include "host/loop/loop.h"
#include "host/net/sockets.h"
#include "host/net/supervision.h"
#include "host/shell/terminal_shell.h"

namespace host {

// In the order of making: each is given what stands above it.
struct Host {
    Settings settings;
    Clock clock;
    Journal journal;
    Log log;
    TraceGroups traces;
    ChangeDispatcher changes;
    std::unique_ptr<Store> store;
    Absence absence;
    Configuration configuration;
    _cbus_conn_t bus;
    BusName bus_name;
    Devices devices;
    Sockets sockets;
    Supervision supervision;
    std::unique_ptr<_fdloop_t> loop; // null before make_loop()
    ShellContext shells;
    TerminalShell terminal;

    explicit Host(Settings given);

    // The loop, made at the first call; null when the kernel refuses one, which is logged.
    _fdloop_t* make_loop();

    // The connection to the bus as `name`. The process ends with status 1, and one line on standard
    // error, when another daemon has that name for the same board and database.
    _cbus_conn_t* connect_bus(std::string_view name);
};

// Made on first use, from the environment; what is wrong there is said in one line on standard
// error, and the process exits with 2, or with 1 when the shared database cannot be used.
Host& instance();

// The same from these settings, for a program that is not to be steered by the environment; before
// the first use of instance().
Host& make_instance(Settings settings);

// For tests: the next use of instance() starts afresh.
void forget_instance();

} // namespace host
