// SPDX-License-Identifier: MIT
// What the BITE handler sees: a bus and a database.
#pragma once

#include "host/base/clock.h"
#include "host/host/host.h"
#include "support/terminal.h"

class Handler : public testing::Test {
protected:
    Handler() { config_init_cbus(bus, 0); }

    std::string story() { return terminal.story(); }
    void put(const std::string& key, const char* value) { terminal.write_text(key, value); }
    std::string get(const std::string& key) { return terminal.value(key); }

    Terminal terminal{"qv2500A"};
    _cbus_conn_t* bus = cbus_conn_create(fdloop_init(), "test.");
};
