// SPDX-License-Identifier: MIT
// What the BITE handler sees: a bus and a database without a terminal around them.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "ap/config.h"
#include "host/clock.h"
#include "host/configuration.h"
#include "host/host.h"

class Handler : public testing::Test {
protected:
    Handler()
    {
        setenv("AP_LOG_LEVEL", "0", 1); // the journal has the log
        host::clock::make_virtual();
        bus = cbus_conn_create(fdloop_init(), "test.");
        config_init_cbus(bus, 0);
    }

    // What happened since the last call.
    std::string story()
    {
        const host::Journal& journal = host::instance().journal;
        std::string text;
        while (seen_ < journal.last())
            text.append(journal.line(++seen_).text).append("\n");
        return text;
    }

    // Writes without leaving a trace in the story, and delivers the change.
    void put(const std::string& key, std::string_view value)
    {
        const host::Write write{key, value};
        ASSERT_EQ(0, host::config_write({&write, 1}));
        host::instance().loop->run_for(0);
        story();
    }

    void put_all(const std::string& prefix,
                 std::initializer_list<std::pair<const char*, const char*>> values)
    {
        for (const auto& [leaf, value] : values)
            put(prefix + leaf, value);
    }

    static std::string get(const std::string& key)
    {
        std::string_view value;
        return host::config_read(key, value) == 0 ? std::string(value) : "-";
    }

    _cbus_conn_t* bus;

private:
    std::uint64_t seen_ = 0;
};
