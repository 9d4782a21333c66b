// SPDX-License-Identifier: MIT
// A server that stops, hangs, refuses, or starts again with other data.
#include <cerrno>

#include "platform/redis_test.h"

namespace {

class RedisBreak : public RedisTest {};

TEST_F(RedisBreak, AStoppedServerCostsOneDeadlineAndOneLine)
{
    server.ask("MSET a 1 b 2");
    follow("a");
    EXPECT_EQ(told(), "");
    server.stop();
    const std::uint64_t begin = host::instance().clock.now_ms();
    EXPECT_EQ(read("a"), -ETIMEDOUT);
    const std::uint64_t one = host::instance().clock.now_ms() - begin;
    for (int i = 0; i < 10000; ++i)
        ASSERT_EQ(read("a") + config_write_int("c", 1), 2 * -ENOTCONN);
    EXPECT_EQ(cbus_send_signal(bus, "s", "x", 1), -ENOTCONN);
    EXPECT_GE(one, 249U);
    EXPECT_LT(one, 2 * 250U);
    EXPECT_LT(host::instance().clock.now_ms() - begin, 2000U) << "at once, on a busy machine too";
    run_for(1500); // reconnects are accepted by the kernel, and nobody answers
    EXPECT_LT(host::instance().loop->statistics().longest_callback_us, 2 * 250'000U);
    server.go_on();
    server.ask("SET a 3");
    EXPECT_TRUE(run_until(host::RedisStore::State::live));
    EXPECT_EQ(read("b"), 2) << "not the answer to an earlier question";
    EXPECT_EQ(read("c"), 1) << "what could not be written is made up for";
    EXPECT_EQ(told(), "[a=3]");
    EXPECT_EQ(log(), "3 Shared database X is lost: it does not answer; trying again until it is "
                     "back\n5 Shared database X is back\n");
}

TEST_F(RedisBreak, AChangeThatCouldNotBeActedUponComesAgain)
{
    server.ask("SET limit 80");
    const auto act = [](unsigned int, const config_data_t* records, void* user) {
        auto& test = *static_cast<RedisBreak*>(user);
        if (test.story.empty())
            test.server.stop();
        const int limit = read("limit");
        test.server.go_on();
        const auto* const value = static_cast<const std::int32_t*>(records->data);
        test.story += std::to_string(value ? *value : -1) + (limit == 80 ? " acted " : " missed ");
    };
    config_change_register("hot", act, this);
    server.ask("SET hot 90");
    EXPECT_TRUE(lost_and_back());
    EXPECT_EQ(told(), "90 missed 90 acted ");
    store().compare();
    EXPECT_EQ(told(), "");
}

TEST_F(RedisBreak, AStoppedServerIsNoticedByItsSilenceToo)
{
    told();
    server.stop();
    config_write_int("a", 1); // nobody waits for its answer
    EXPECT_TRUE(run_until(host::RedisStore::State::down));
    EXPECT_LT(host::instance().loop->statistics().longest_callback_us, 200'000U) << "nobody waits";
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

TEST_F(RedisBreak, AServerThatRefusesTheWayBackSaysWhyOnce)
{
    const std::pair<RedisServer::Settings, const char*> ways[] = {
        {{"requirepass x"}, "it refuses us: NOAUTH"},
        {{"rename-command CONFIG nothing"}, "it does not tell of changes"},
    };
    for (const auto& [settings, why] : ways) {
        server.kill();
        server.start(settings);
        EXPECT_TRUE(run_until(host::RedisStore::State::down));
        EXPECT_TRUE(run_until([why = why] { return log_lines.find(why) != log_lines.npos; }));
        run_for(300); // more attempts
        server.kill();
        server.start();
        EXPECT_TRUE(run_until(host::RedisStore::State::live));
        const std::string lines = log();
        EXPECT_NE(lines.find(std::string("\n3 Shared database X: ") + why), lines.npos) << lines;
        EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 3) << lines;
    }
    server.ask("CONFIG SET replica-serve-stale-data no");
    server.ask("REPLICAOF 127.0.0.1 1");
    store().compare();
    EXPECT_TRUE(run_until(host::RedisStore::State::down));
    EXPECT_TRUE(log().starts_with("3 Shared database X is lost: it answers MASTERDOWN Link"));
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
            EXPECT_EQ(host::instance().configuration.write(group), 0);
            EXPECT_EQ(read("a"), 7) << "all of a group or nothing";
        }
        server.ask(take);
        config_write_int("other", value);
        EXPECT_TRUE(comes_to("status", value)) << word;
        const std::string lines = log();
        EXPECT_TRUE(
            lines.starts_with(std::string("3 Shared database X refuses what is written: ") + word))
            << lines;
        EXPECT_TRUE(lines.ends_with("5 Shared database X takes what is written again\n"));
        EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2) << lines;
    }
}

class RedisSlow : public RedisTest {
public:
    RedisSlow() : RedisTest({"notify-keyspace-events KA", "hz 500"}) {}

    // Reads that take the server 70 ms each, until one has no time left. How many were answered.
    int slow_reads(int most)
    {
        for (int i = 0; i < most; ++i) {
            server.ask("CLIENT PAUSE 70 ALL");
            const std::uint64_t begin = host::machine_us();
            const int result = read("missing");
            waited_us += host::machine_us() - begin;
            if (result != -ENOENT)
                return result == -ETIMEDOUT ? i : -1;
        }
        return most;
    }
    std::uint64_t waited_us = 0;
};

// Each question has its deadline; all of a callback share one budget, which the start has not.
TEST_F(RedisSlow, CostsACallbackItsBudgetAndTheStartMore)
{
    EXPECT_EQ(slow_reads(15), 15) << "a default would be taken for a setting that was not read";
    EXPECT_GT(waited_us, host::CallBudget::callback_us);
    const auto callback = [](void* user) {
        auto& test = *static_cast<RedisSlow*>(user);
        test.waited_us = 0;
        EXPECT_GT(test.slow_reads(40), 1);
        for (int i = 0; i < 1000; ++i)
            EXPECT_EQ(read("missing"), -ETIMEDOUT);
        EXPECT_GE(test.waited_us, host::CallBudget::callback_us);
        EXPECT_LT(test.waited_us, host::CallBudget::callback_us + host::CallBudget::call_us);
        host::instance().loop->stop();
        return 0;
    };
    host::instance().loop->add_timer(0, callback, this);
    host::instance().loop->run();
    EXPECT_EQ(read("missing"), -ENOENT);
    EXPECT_EQ(log(), "");
}

class RedisOverTcp : public RedisTest {
protected:
    explicit RedisOverTcp(const std::string& number = std::to_string(free_port()))
        : RedisTest({"port " + number}, "tcp:localhost:" + number + "#2"), port(number)
    {
    }

    const std::string port;
};

TEST_F(RedisOverTcp, AServerThatForgotToTellIsToldAgain)
{
    follow("t");
    config_write_int("status", 5);
    told();
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

} // namespace
