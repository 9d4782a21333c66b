// SPDX-License-Identifier: MIT
// A server that stops, hangs, refuses, or starts again with other data.
#include <cerrno>

#include "platform/redis_test.h"

namespace {

class RedisBreak : public RedisTest {};

TEST_F(RedisBreak, AStoppedServerCostsOneDeadlineAndOneLine)
{
    server.ask("MSET a 1 b 2 old 3");
    follow("a");
    EXPECT_EQ(told(), "");
    EXPECT_EQ(read("old"), 3);
    server.signal(SIGSTOP);
    const std::uint64_t begin = host::instance().clock.now_ms();
    EXPECT_EQ(read("b"), -ETIMEDOUT);
    EXPECT_GE(host::instance().clock.now_ms() - begin, 249U);
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(read("b") + read("old") + config_write_int("c", i), 3 - ENOTCONN);
    EXPECT_EQ(cbus_send_signal(bus, "s", "x", 1), -ENOTCONN);
    run_for(1500); // reconnects are accepted by the kernel, and nobody answers
    EXPECT_LT(host::instance().loop->statistics().longest_callback_us, 2 * 250'000U);
    server.signal(SIGCONT);
    server.ask("SET a 3");
    EXPECT_TRUE(run_until(State::live));
    EXPECT_EQ(read("b"), 2) << "not the answer to an earlier question";
    EXPECT_EQ(told(), "[a=3]");
    EXPECT_EQ(server.ask("GET c"), "999") << "what could not be written is made up for";
    EXPECT_EQ(log(), "3 Shared database X is lost: it does not answer; trying again until it is "
                     "back\n5 Shared database X is back\n");
}

TEST_F(RedisBreak, AChangeThatCouldNotBeActedUponComesAgain)
{
    const auto act = [](unsigned int, const config_data_t* records, void* user) {
        auto& test = *static_cast<RedisBreak*>(user);
        if (test.story.empty())
            test.server.signal(SIGSTOP);
        const bool can_act = read("limit") == 80;
        test.server.signal(SIGCONT);
        test.story += std::to_string(*static_cast<const std::int32_t*>(records->data)) +
                      (can_act ? " acted " : " missed ");
    };
    told();
    config_change_register("hot", act, this);
    server.ask("MSET hot 90 limit 80");
    EXPECT_TRUE(run_until(State::down) && run_until(State::live));
    EXPECT_EQ(told(), "90 missed 90 acted ");
}

// Restarted without its data, or with what it had some time ago.
TEST_F(RedisBreak, ARestartedServerGetsItsStatusBack)
{
    config_user_settings("cfg");
    cbus_repeat("some.definition");
    for (const bool empty : {true, false}) {
        for (const char* const key : {"in", "mine"})
            follow(key);
        for (const char* const key : {"status", "mine", "cfg.x", "taken"})
            config_write_int(key, 5);
        cbus_send_signal(bus, "some.definition", "0123", 4);
        server.ask("MSET in.same 1 in.changed 1 in.gone 1 in.back 1");
        told();
        read("looked.at");
        server.ask("SET taken 3");
        told();
        server.ask("SAVE");
        for (const char* const key : {"status", "cfg.x"})
            config_write_int(key, 6);
        told();
        server.kill();
        EXPECT_EQ(config_write_int("last", 6), 0) << "it cannot know yet; no SIGPIPE";
        EXPECT_TRUE(run_until(State::down));
        for (const char* const key : {"late", "in.mine", "in.back"})
            EXPECT_EQ(config_write_int(key, 4), 0);
        if (empty)
            std::filesystem::remove(server.path("dump.rdb"));
        server.start();
        server.ask("MSET in.same 1 in.changed 2 in.new 3 in.back 1");
        server.ask("DEL in.gone");
        const RedisServer::Connection listener = server.connect();
        freeReplyObject(redisCommand(listener.get(), "PSUBSCRIBE some.*"));
        EXPECT_TRUE(run_until(State::live));
        EXPECT_EQ(told(), "[in.mine=4][in.back=4][in.changed=2 in.gone=null in.new=3]");
        void* signal = nullptr;
        redisGetReply(listener.get(), &signal);
        EXPECT_STREQ(static_cast<redisReply*>(signal)->element[2]->str, "some.definition");
        freeReplyObject(signal);
        std::string kept;
        for (const char* const key :
             {"status", "last", "late", "mine", "in.mine", "in.back", "cfg.x", "taken"})
            kept += server.ask("GET %s", key) + " ";
        EXPECT_EQ(kept, empty ? "6 6 4 5 4 4 6  " : "6 6 4 5 4 4 5 3 ")
            << "settings and others' stay";
        EXPECT_EQ(read("cfg.x"), empty ? 6 : 5);
        server.ask("MSET in.same 7 looked.at 8 mine 9");
        EXPECT_EQ(told(), "[mine=9 in.same=7]") << "all is tracked again";
        EXPECT_EQ(read("looked.at"), 8);
        server.ask("FLUSHALL");
        told();
    }
}

TEST_F(RedisBreak, AServerThatRefusesTheWayBackSaysWhyOnce)
{
    const std::pair<const char*, const char*> ways[] = {
        {"requirepass x", "it refuses us: NOAUTH"},
        {"rename-command CLIENT nothing", "it refuses us: ERR unknown command"},
    };
    for (const auto& [setting, why] : ways) {
        server.kill();
        server.start({setting});
        EXPECT_TRUE(run_until([why = why] { return log_lines.find(why) != log_lines.npos; }));
        run_for(500); // more attempts
        server.kill();
        server.start();
        EXPECT_TRUE(run_until(State::live));
        const std::string lines = log();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 3) << lines;
    }
}

TEST_F(RedisBreak, ARefusedWriteIsOneLineUntilAllAreTaken)
{
    const std::tuple<const char*, const char*, const char*> ways[] = {
        {"CONFIG SET maxmemory 1", "CONFIG SET maxmemory 0", "OOM"},
        {"REPLICAOF 127.0.0.1 1", "REPLICAOF NO ONE", "READONLY"},
    };
    for (const auto& [refuse, take, word] : ways) {
        run_for(20);
        server.ask(refuse);
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(config_write_int("status", i) + config_write_int("status.2", i), 0);
            run_for(2);
            EXPECT_EQ(read("status"), i);
        }
        run_for(20);
        server.ask(take);
        for (int i = 0; i < 3; ++i) {
            config_write_int("other", i); // what one came to is seen with the next
            run_for(20);
        }
        EXPECT_EQ(server.ask("GET status") + server.ask("GET status.2"), "1919") << word;
        const std::string lines = log();
        EXPECT_TRUE(lines.starts_with("3 Shared database X refuses what is written: " +
                                      std::string(word)) &&
                    lines.ends_with("5 Shared database X takes what is written again\n") &&
                    std::count(lines.begin(), lines.end(), '\n') == 2)
            << lines;
    }
}

} // namespace
