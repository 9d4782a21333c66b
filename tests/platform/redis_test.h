// SPDX-License-Identifier: MIT
// This process with a real server, and somebody else's client beside it.
#pragma once

#include "ap/bus.h"
#include "host/redis/redis_store.h"
#include "platform/redis_server.h"

class RedisTest : public testing::Test {
public:
    using State = host::RedisStore::State;

    RedisTest()
    {
        setenv("AP_DATABASE", server.address().c_str(), 1);
        host::instance().log.set_sink([](int level, std::string_view text) {
            log_lines += std::to_string(level) + " " + std::string(text);
        });
        bus = cbus_conn_create(fdloop_init(), own_bus_name().c_str());
        config_init_cbus(bus, 0);
        follow("marker", marks);
    }

    static State state() { return static_cast<host::RedisStore&>(*host::instance().store).state(); }
    static bool run_until(const std::function<bool()>& done, int patience = 10000)
    {
        const auto stop = [](void*) {
            host::instance().loop->stop();
            return 0;
        };
        const std::uint64_t end =
            host::instance().clock.now_ms() + static_cast<std::uint64_t>(patience);
        while (!done() && host::instance().clock.now_ms() < end) {
            host::instance().loop->add_timer(1, stop, nullptr);
            host::instance().loop->run();
        }
        return done();
    }
    static bool run_until(State wanted)
    {
        return run_until([wanted] { return state() == wanted; });
    }
    static void run_for(int milliseconds)
    {
        run_until([] { return false; }, milliseconds);
    }

    // What is told of the key, as one bracket for each call.
    void follow(const char* key) { follow(key, story); }

    // What has been told up to writes of somebody else that are told too, and up to now.
    std::string told()
    {
        for (int i = 0; i < 2; ++i) {
            server.ask("SET marker %d", ++marker);
            const std::string last = "[marker=" + std::to_string(marker) + "]";
            EXPECT_TRUE(run_until([&] { return marks.find(last) != marks.npos; })) << story;
        }
        run_for(10);
        return std::exchange(story, {});
    }
    static int read(const char* key)
    {
        std::int32_t value = -1;
        const int result = config_read_int(key, &value);
        return result != 0 ? result : value;
    }
    // The log since the last look, without the changing parts.
    std::string log() const
    {
        std::string text = std::exchange(log_lines, {});
        for (std::size_t at; (at = text.find(server.address())) != std::string::npos;)
            text.replace(at, server.address().size(), "X");
        if (const std::size_t at = text.find(" after "); at != std::string::npos)
            text.erase(at, text.find('\n', at) - at);
        return text;
    }

    static void follow(const char* key, std::string& into)
    {
        const auto told = [](unsigned int count, const config_data_t* records, void* user) {
            std::string text;
            for (const config_data_t& record : std::span(records, count))
                text += (text.empty() ? "" : " ") + std::string(record.key) + "=" +
                        (record.data == nullptr
                             ? "null"
                             : std::to_string(*static_cast<const std::int32_t*>(record.data)));
            *static_cast<std::string*>(user) += "[" + text + "]";
        };
        EXPECT_EQ(config_change_register(key, told, &into), 0);
    }

    RedisServer server;
    static inline std::string log_lines;
    std::string story;
    std::string marks;
    int marker = 0;
    _cbus_conn_t* bus = nullptr;
};
