// SPDX-License-Identifier: MIT
// This process with a real server, and somebody else's client beside it.
#pragma once

#include <gtest/gtest.h>

#include <functional>

#include "ap/bus.h"
#include "ap/config.h"
#include "ap/loop.h"
#include "host/base/clock.h"
#include "host/config/configuration.h"
#include "host/host/host.h"
#include "host/redis/redis_store.h"
#include "platform/redis_server.h"
#include "support/platform.h"

class RedisTest : public testing::Test {
protected:
    explicit RedisTest(const RedisServer::Settings& settings = {"notify-keyspace-events KA"},
                       const std::string& address = {})
        : server(settings)
    {
        setenv("AP_DATABASE", (address.empty() ? server.address() : address).c_str(), 1);
        host::instance().log.set_sink([](int level, std::string_view text) {
            log_lines += std::to_string(level) + " " + std::string(text);
        });
        bus = cbus_conn_create(fdloop_init(), own_bus_name().c_str());
        config_init_cbus(bus, 0);
        const auto marked = [](unsigned int, const config_data_t* records, void* user) {
            if (records->data != nullptr)
                *static_cast<int*>(user) = *static_cast<const std::int32_t*>(records->data);
        };
        config_change_register("test.marker", marked, &marker_told);
    }

    static host::RedisStore& store()
    {
        return static_cast<host::RedisStore&>(*host::instance().store);
    }

    static bool run_until(const std::function<bool()>& done, int patience = 10000)
    {
        const auto stop = [](void*) {
            host::instance().loop->stop();
            return 0;
        };
        const std::uint64_t end =
            host::instance().clock.now_ms() + static_cast<std::uint64_t>(patience);
        while (!done() && host::instance().clock.now_ms() < end) {
            host::instance().loop->add_timer(5, stop, nullptr);
            host::instance().loop->run();
        }
        return done();
    }
    static void run_for(int milliseconds)
    {
        run_until([] { return false; }, milliseconds);
    }
    static bool run_until(host::RedisStore::State state)
    {
        return run_until([state] { return store().state() == state; });
    }
    static bool lost_and_back()
    {
        using enum host::RedisStore::State;
        return run_until(down) && run_until(live);
    }

    // What is told of the key, as one bracket for each call.
    void follow(const char* key)
    {
        const auto told = [](unsigned int count, const config_data_t* records, void* user) {
            auto& text = *static_cast<std::string*>(user);
            text += "[";
            for (unsigned int i = 0; i < count; ++i) {
                const void* const value = records[i].data;
                text += std::string(i > 0 ? " " : "") + records[i].key + "=" +
                        (value ? std::to_string(*static_cast<const std::int32_t*>(value)) : "null");
            }
            text += "]";
        };
        EXPECT_EQ(config_change_register(key, told, &story), 0);
    }
    // What has been told when everything is done: more than once the loop has seen a write of its
    // own come back, which is behind all that the server was asked before.
    std::string told()
    {
        for (int i = 0; i < 3; ++i) {
            config_write_int("test.marker", ++marker);
            EXPECT_TRUE(run_until([this] { return marker_told == marker; }));
        }
        run_for(20);
        return std::exchange(story, {});
    }
    bool comes_to(const char* key, int value)
    {
        return run_until([&] { return server.ask("GET %s", key) == std::to_string(value); });
    }
    static int read(const char* key)
    {
        std::int32_t value = -1;
        const int result = config_read_int(key, &value);
        return result != 0 ? result : value;
    }
    // The log since the last look, without the changing parts.
    std::string log()
    {
        std::string text = std::exchange(log_lines, {});
        for (std::size_t at; (at = text.find(server.address())) != std::string::npos;)
            text.replace(at, server.address().size(), "X");
        if (const std::size_t at = text.find(" after "); at != std::string::npos)
            text.erase(at, text.find('\n', at) - at);
        return text;
    }

public: // for callbacks
    RedisServer server;
    static inline std::string log_lines;
    std::string story;
    int marker = 0;
    int marker_told = 0;
    _cbus_conn_t* bus = nullptr;
};
