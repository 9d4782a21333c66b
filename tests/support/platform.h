// SPDX-License-Identifier: MIT
// What the tests of the platform have in common.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "ap/config.h"
#include "ap/log.h"
#include "ap/loop.h"
#include "host/base/clock.h"
#include "host/base/descriptor.h"
#include "host/config/configuration.h"
#include "host/host/host.h"
#include "support/directory.h"

// Tests that have no board of their own run side by side.
inline std::string own_bus_name()
{
    return "test." + std::to_string(getpid());
}

// The process's loop in virtual time, with an empty database.
inline _cbus_conn_t* connect_platform()
{
    host::instance().clock.make_virtual();
    _cbus_conn_t* const connection = cbus_conn_create(fdloop_init(), own_bus_name().c_str());
    config_init_cbus(connection, 0);
    return connection;
}

inline void run_loop(std::uint64_t milliseconds = 0)
{
    host::instance().loop->run_for(milliseconds);
}

inline int put_value(std::string_view key, std::optional<std::string_view> value)
{
    const host::Write write{key, value};
    return host::instance().configuration.write({&write, 1});
}
