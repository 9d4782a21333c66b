// SPDX-License-Identifier: MIT
// A real server that misbehaves, between this process and somebody else's client.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <list>

#include "ap/config.h"
#include "host/clock.h"
#include "host/configuration.h"
#include "host/host.h"
#include "host/logging.h"
#include "host/redis_store.h"
#include "platform/redis_server.h"

namespace {

constexpr int patience_ms = 10000;
std::string log_lines;

class RedisBreak : public testing::Test {
protected:
    explicit RedisBreak(const RedisServer::Settings& settings = {"notify-keyspace-events KA"},
                        const std::string& address = {})
        : server(settings)
    {
        setenv("AP_DATABASE", (address.empty() ? server.address() : address).c_str(), 1);
        host::set_log_sink([](int level, std::string_view text) {
            log_lines += std::to_string(level) + " " + std::string(text);
        });
        bus = cbus_conn_create(fdloop_init(), "test");
        config_init_cbus(bus, 0);
    }

    static host::RedisStore& store()
    {
        return static_cast<host::RedisStore&>(*host::instance().store);
    }

    static bool run_until(const std::function<bool()>& done, int patience = patience_ms)
    {
        const auto stop = [](void*) {
            host::instance().loop->stop();
            return 0;
        };
        const std::uint64_t end = host::clock::now_ms() + static_cast<std::uint64_t>(patience);
        while (!done() && host::clock::now_ms() < end) {
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
    // What has been told when nothing more comes.
    std::string told()
    {
        run_for(60);
        return std::exchange(story, {});
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

    RedisServer server;
    std::string story;
    _cbus_conn_t* bus = nullptr;
};

TEST_F(RedisBreak, AStoppedServerCostsOneDeadlineAndOneLine)
{
    server.ask("MSET a 1 b 2");
    follow("a");
    EXPECT_EQ(told(), "");
    server.stop();
    const std::uint64_t begin = host::clock::now_ms();
    EXPECT_EQ(read("a"), -ETIMEDOUT);
    const std::uint64_t one = host::clock::now_ms() - begin;
    for (int i = 0; i < 10000; ++i)
        ASSERT_EQ(read("a") + config_write_int("c", 1), 2 * -ENOTCONN);
    EXPECT_EQ(cbus_send_signal(bus, "s", "x", 1), -ENOTCONN);
    EXPECT_NEAR(static_cast<double>(one), 250, 30);
    EXPECT_LT(host::clock::now_ms() - begin, 600U);
    run_for(1500); // reconnects are accepted by the kernel, and nobody answers
    EXPECT_LT(host::instance().loop->statistics().longest_callback_us, 300'000U);
    server.go_on();
    server.ask("SET a 3");
    EXPECT_TRUE(run_until(host::RedisStore::State::live));
    EXPECT_EQ(read("b"), 2) << "not the answer to an earlier question";
    EXPECT_EQ(read("c"), 1) << "what could not be written is made up for";
    EXPECT_EQ(told(), "[a=3]");
    EXPECT_EQ(log(), "3 Shared database X is lost: it does not answer; trying again until it is "
                     "back\n5 Shared database X is back\n");
}

TEST_F(RedisBreak, AStoppedServerIsNoticedByItsSilenceToo)
{
    server.stop();
    config_write_int("a", 1); // nobody waits for its answer
    EXPECT_TRUE(run_until(host::RedisStore::State::down));
    EXPECT_LT(host::instance().loop->statistics().longest_callback_us, 50'000U);
    server.go_on();
    EXPECT_TRUE(run_until(host::RedisStore::State::live));
    EXPECT_EQ(server.ask("GET a"), "1");
}

TEST_F(RedisBreak, ARestartedServerGetsItsStatusBack)
{
    for (const bool empty : {true, false}) {
        follow("in");
        config_write_int("status", 5);
        config_write_int("cfg.x", 5);
        config_write_string("text", "long ago");
        cbus_send_signal(bus, "event_handler.registerEventDefinition", "0123", 4);
        cbus_send_signal(bus, "event_handler.forwardEventReport", "0123", 4);
        server.ask("MSET in.same 1 in.changed 1 in.gone 1 in.list 1");
        EXPECT_FALSE(told().empty());
        server.ask("SAVE");
        config_write_int("status", 6);
        config_write_int("cfg.x", 6);
        EXPECT_EQ(told(), "");
        server.kill();
        EXPECT_EQ(config_write_int("status", 6), 0) << "it cannot know yet; no SIGPIPE";
        EXPECT_TRUE(run_until(host::RedisStore::State::down));
        EXPECT_EQ(config_write_int("late", 1), -ENOTCONN);
        if (empty)
            std::filesystem::remove(server.path("dump.rdb"));
        server.start();
        server.ask("MSET in.same 1 in.changed 2 in.new 3");
        server.ask("DEL in.gone in.list");
        server.ask("LPUSH in.list 1");
        redisReply* const subscribed =
            static_cast<redisReply*>(redisCommand(server.peer(), "PSUBSCRIBE event_handler.*"));
        freeReplyObject(subscribed);
        EXPECT_TRUE(run_until(host::RedisStore::State::live));
        EXPECT_EQ(told(), "[in.changed=2 in.gone=null in.list=null in.new=3]");
        void* signal = nullptr;
        redisGetReply(server.peer(), &signal);
        EXPECT_STREQ(static_cast<redisReply*>(signal)->element[2]->str,
                     "event_handler.registerEventDefinition");
        freeReplyObject(signal);
        EXPECT_EQ(read("status"), 6);
        EXPECT_EQ(read("late"), 1);
        EXPECT_EQ(read("cfg.x"), empty ? 6 : 5) << "a setting is its user's";
        EXPECT_EQ(read("in.list"), -EINVAL);
        server.kill();
        server.start();
        EXPECT_TRUE(lost_and_back());
        server.ask("FLUSHDB");
        store().compare();
        told();
    }
}

TEST_F(RedisBreak, ARefusedWriteIsOneLineUntilOneIsTaken)
{
    const std::tuple<const char*, const char*, const char*> ways[] = {
        {"CONFIG SET maxmemory 1", "CONFIG SET maxmemory 0", "OOM"},
        {"REPLICAOF 127.0.0.1 1", "REPLICAOF NO ONE", "READONLY"},
        {"CONFIG SET min-replicas-to-write 1", "CONFIG SET min-replicas-to-write 0", "NOREPLICAS"},
    };
    int value = 1;
    for (const auto& [refuse, take, word] : ways) {
        server.ask("SET a 7");
        config_write_int("status", 0);
        server.ask(refuse);
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(config_write_int("status", ++value), 0);
            const host::Write group[] = {{"status.2", "1"}, {"a", std::nullopt}};
            EXPECT_EQ(host::config_write(group), 0);
            EXPECT_EQ(read("a"), 7) << "all of a group or nothing";
        }
        run_for(20);
        server.ask(take);
        config_write_int("other", value);
        run_for(20);
        EXPECT_EQ(server.ask("GET status"), std::to_string(value)) << word;
        const std::string lines = log();
        EXPECT_TRUE(
            lines.starts_with(std::string("3 Shared database X refuses what is written: ") + word))
            << lines;
        EXPECT_TRUE(lines.ends_with("5 Shared database X takes what is written again\n"));
        EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2) << lines;
    }
}

TEST_F(RedisBreak, AComparisonFindsWhatNoEventTold)
{
    server.ask("MSET in.1 1 in.2 2");
    follow("in");
    config_write_int("status", 5);
    EXPECT_EQ(told(), "") << "what was there before is no change";
    server.ask("FLUSHDB");
    EXPECT_EQ(told(), "");
    store().compare();
    EXPECT_EQ(told(), "[in.1=null in.2=null]");
    EXPECT_EQ(server.ask("GET status"), "5");
    store().compare();
    EXPECT_EQ(told(), "") << "once";
}

TEST_F(RedisBreak, EachWriteOfOthersCountsOnce)
{
    server.ask("CONFIG SET notify-keyspace-events KEAmn");
    for (const char* const key : {"a.b", "a", "a.b.c", "g*", "g[x]", "s"})
        follow(key);
    server.ask("MSET a.b 1 a.b.c 2 g* 3 g*.x 4 g[x].y 5 gx.y 9 gz 9 ab 9");
    EXPECT_EQ(told(), "[a.b=1 a.b.c=2 g*=3 g*.x=4 g[x].y=5]") << "together";
    server.ask("SET s 6 EX 100");
    EXPECT_EQ(told(), "[s=6]") << "the time to live is no change";
    server.ask("EXPIRE s 200");
    EXPECT_EQ(read("s.missing"), -ENOENT); // a read that has an event
    EXPECT_EQ(told(), "");
    server.ask("SET a.b 1");
    EXPECT_EQ(told(), "[a.b=1]") << "an equal value too";
    server.ask("DEL a.b");
    server.ask("LPUSH a.b 1");
    server.ask("SETRANGE a.b.c 10000000 x");
    server.ask("SET %b 1", "a.bad key", std::size_t{9});
    EXPECT_EQ(told(), "[a.b=null][a.b=null a.b.c=null]");
    std::array<char, 8> text{"before"};
    EXPECT_EQ(read("a.b.c"), -EMSGSIZE);
    EXPECT_EQ(config_read_string("a.b", text.data(), 8), -EINVAL);
    EXPECT_STREQ(text.data(), "before");
}

TEST_F(RedisBreak, AValueOfAnotherKindSpoilsNoOtherItem)
{
    server.ask("LPUSH k.list 1");
    server.ask("MSET k.one 1 k.text x");
    std::int32_t values[] = {7, 7};
    config_data_t items[] = {{CONFIG_TYPE_INTEGER, "k.list", &values[0], 4, 0, 0},
                             {CONFIG_TYPE_INTEGER, "k.one", &values[1], 4, 0, 0}};
    EXPECT_EQ(config_readv("k", 2, items), 1);
    EXPECT_EQ(std::tie(items[0].status, values[0], values[1]), std::tuple(-EINVAL, 7, 1));
    unsigned int count = 0;
    config_data_t* found = nullptr;
    ASSERT_EQ(config_readm("k[.].*", &count, &found), 0);
    EXPECT_EQ(std::tie(count, found[0].status, found[1].status), std::tuple(3U, -EINVAL, 0));
    free(found);
}

TEST_F(RedisBreak, AWriteBeyondTheSocketsBufferArrives)
{
    const std::string text(60'000, 'x');
    const std::vector<host::Write> writes(9, {"long", text});
    EXPECT_EQ(host::config_write(writes), 0);
    const auto stop = [](void*) {
        host::instance().loop->stop();
        return 0;
    };
    host::instance().loop->add_timer(400, stop, nullptr); // nothing else wakes the loop
    host::instance().loop->run();
    EXPECT_EQ(server.ask("STRLEN long") + log(), "60000");
}

class RedisFlood : public RedisBreak, public testing::WithParamInterface<const char*> {
protected:
    RedisFlood() : RedisBreak({"notify-keyspace-events KA", GetParam()}) {}
};

TEST_P(RedisFlood, EndsWithTheRightState)
{
    static std::map<std::string, std::int32_t> values;
    const auto note = [](unsigned int count, const config_data_t* records, void*) {
        for (const config_data_t& record : std::span(records, count))
            values[record.key] = *static_cast<const std::int32_t*>(record.data);
    };
    config_change_register("t", note, nullptr);
    run_for(30);
    constexpr int writes = 100000;
    for (int i = 0; i < writes; ++i)
        redisAppendCommand(server.peer(), "SET t.%d %d", i % 100, i);
    for (int i = 0; i < writes; ++i) {
        void* reply = nullptr;
        redisGetReply(server.peer(), &reply);
        freeReplyObject(reply);
    }
    EXPECT_TRUE(run_until([] {
        return values.size() == 100 && values["t.0"] == writes - 100 &&
               values["t.99"] == writes - 1;
    }));
    run_for(100);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(values["t." + std::to_string(i)], writes - 100 + i);
    EXPECT_LT(host::instance().loop->statistics().longest_callback_us, 250'000U);
    const bool dropped =
        log_lines.find("is lost: it has closed the connection") != std::string::npos;
    EXPECT_EQ(dropped, std::string_view(GetParam()).ends_with("64kb 0 0")) << log_lines;
}

INSTANTIATE_TEST_SUITE_P(Limits, RedisFlood,
                         testing::Values("client-output-buffer-limit pubsub 32mb 8mb 60",
                                         "client-output-buffer-limit pubsub 64kb 0 0"));

// Two questions of the same callback would be two deadlines; ten of them one budget.
TEST_F(RedisBreak, ASlowServerCostsACallbackItsBudget)
{
    const pid_t slow = fork();
    if (slow == 0) { // it is busy for 70 ms, again and again
        redisContext* const other = redisConnectUnix(server.socket().c_str());
        while (other != nullptr && other->err == 0) {
            freeReplyObject(redisCommand(other, "EVAL %s 0",
                                         "local t=redis.call('TIME') local e=t[1]*1e6+t[2]+7e4 "
                                         "repeat t=redis.call('TIME') until t[1]*1e6+t[2]>e"));
            poll(nullptr, 0, 1); // so that others get their turn
        }
        _exit(0);
    }
    poll(nullptr, 0, 50);
    static std::string results;
    const auto callback = [](void*) {
        for (int i = 0; i < 40; ++i) {
            results += std::to_string(read("missing")) + " ";
            poll(nullptr, 0, 3); // the server is busy again
        }
        host::instance().loop->stop();
        return 0;
    };
    host::instance().loop->add_timer(0, callback, nullptr);
    const std::uint64_t begin = host::clock::now_ms();
    host::instance().loop->run();
    EXPECT_LT(host::clock::now_ms() - begin, 1400U);
    EXPECT_TRUE(results.ends_with(std::to_string(-ETIMEDOUT) + " ")) << results;
    kill(slow, SIGKILL);
    waitpid(slow, nullptr, 0);
}

class RedisOverTcp : public RedisBreak {
protected:
    explicit RedisOverTcp(const std::string& number = std::to_string(free_port()))
        : RedisBreak({"port " + number}, "tcp:localhost:" + number + "#2"), port(number)
    {
    }

    const std::string port;
};

TEST_F(RedisOverTcp, AServerThatForgotToTellIsToldAgain)
{
    follow("t");
    config_write_int("status", 5);
    run_for(20);
    server.kill();
    server.start({"port " + port}); // what was set in the first is gone with it
    EXPECT_TRUE(lost_and_back());
    server.ask("SET t 9"); // in another database
    server.ask("SELECT 2");
    server.ask("SET t 1");
    EXPECT_EQ(told(), "[t=1]");
    EXPECT_EQ(server.ask("GET status"), "5");
    server.stop();
    EXPECT_EQ(read("t"), -ETIMEDOUT);
    server.go_on();
    EXPECT_TRUE(run_until(host::RedisStore::State::live));
    EXPECT_EQ(read("t"), 1);
}

// A key that somebody else has taken over since is theirs.
TEST_F(RedisBreak, WritesNothingOverOthers)
{
    config_write_int("shared.status", 1);
    server.stop();
    EXPECT_EQ(read("a"), -ETIMEDOUT);
    EXPECT_EQ(config_write_int("shared.status", 2), -ENOTCONN);
    server.go_on();
    EXPECT_TRUE(run_until(host::RedisStore::State::live));
    run_for(20);
    EXPECT_EQ(server.ask("GET shared.status"), "2");
    store().compare();
    run_for(20);
    server.ask("SET shared.status 3");
    store().compare();
    run_for(20);
    server.ask("SAVE");
    server.kill();
    server.start();
    EXPECT_TRUE(lost_and_back());
    run_for(20);
    EXPECT_EQ(server.ask("GET shared.status"), "3");
}

} // namespace
