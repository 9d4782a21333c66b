// SPDX-License-Identifier: MIT
// What the BITE handler sees: a bus and a database.
#pragma once

#include "support/terminal.h"

class Handler : public testing::Test {
protected:
    std::string story() { return terminal.story(); }
    void put(const std::string& key, const char* value) { terminal.write_text(key, value); }
    std::string get(const std::string& key) { return terminal.value(key); }

    Terminal terminal{"qv2500A"};
    _cbus_conn_t* bus = cbus_conn_create(main_fdloop, "test.");
};
