// SPDX-License-Identifier: MIT
// A process beside others: what is told to whom, and what is read without asking.
#include <cerrno>

#include "platform/redis_test.h"

namespace {

class RedisMirror : public RedisTest {};

TEST_F(RedisMirror, EachWriteOfOthersCountsOnce)
{
    server.ask("MSET a.b 7 n.1 7");
    for (const char* const key : {"a.b", "a", "a.b.c", "n"})
        follow(key);
    EXPECT_EQ(told(), "") << "what was there before is no change";
    server.ask("MSET a.b 1 a.b.c 2 n.1 3 ab 9 nn 9");
    EXPECT_EQ(told(), "[a.b=1 a.b.c=2 n.1=3]") << "together";
    server.ask("SET a.b 1");
    EXPECT_EQ(told(), "[a.b=1]") << "an equal value too";
    server.ask("DEL a.b");
    server.ask("LPUSH a.b 1");
    server.ask("SETRANGE n.1 1000000 x");
    server.ask("SET %b 1", "a.bad key", std::size_t{9});
    server.ask("SET a.b.c 5 EX 100");
    EXPECT_EQ(told(), "[a.b=null a.b.c=5 n.1=null]") << "several of a key as one, the last";
    EXPECT_EQ(read("n.1") + read("a.b"), 2 * -ENOENT) << "no values of ours";
    server.ask("SET own 0");
    config_write_int("own", 1);
    const std::string text(60'000, 'x'); // together more than a socket takes
    EXPECT_EQ(host::instance().configuration.write(std::vector<host::Write>(9, {"long", text})), 0);
    told();
    server.ask("FLUSHALL");
    EXPECT_TRUE(run_until([this] { return server.ask("STRLEN long") == "60000"; }));
    EXPECT_EQ(told(), "[a.b.c=null]");
    EXPECT_EQ(server.ask("GET own"), "1");
}

TEST_F(RedisMirror, WhatWasReadOnceIsKeptTrue)
{
    const char* const keys[] = {"k.longer", "k.long", "k", "missing"}; // each begins the one before
    server.ask("MSET k.longer 1 k.long 1 k 1");
    told();
    for (const char* const key : keys)
        EXPECT_EQ(read(key), key == keys[3] ? -ENOENT : 1);
    for (int round = 2; round < 5; ++round) {
        for (const char* const key : keys)
            server.ask("SET %s %d", key, round);
        EXPECT_EQ(told(), "");
        server.signal(SIGSTOP);
        for (const char* const key : keys)
            EXPECT_EQ(read(key), round) << key << ": nobody waits";
        server.signal(SIGCONT);
    }
    follow("k");
    server.ask("MSET k.long 5 kx 5");
    EXPECT_EQ(told(), "[k.long=5]");
    EXPECT_EQ(log(), "");
}

TEST_F(RedisMirror, AnAnswerOlderThanAnOwnWriteIsNotTaken)
{
    follow("k");
    told();
    server.ask("SET k 5");
    server.ask("CLIENT PAUSE 200 ALL");
    run_for(50); // the change is known, and its value asked for
    config_write_int("k", 7);
    EXPECT_EQ(told(), "[k=7]");
    EXPECT_EQ(read("k"), 7);
    EXPECT_EQ(server.ask("GET k"), "7");
}

TEST_F(RedisMirror, NoFloodIsBeforeWhatIsFollowedByName)
{
    static std::string order;
    const auto note = [](unsigned int count, const config_data_t* records, void*) {
        for (const config_data_t& record : std::span(records, count))
            order += record.key[0];
    };
    for (const char* const key : {"flood", "hot"})
        config_change_register(key, note, nullptr);
    told();
    for (int i = 0; i < 20000; ++i)
        server.ask("SET flood.%d 1", i);
    server.ask("SET hot 90");
    EXPECT_TRUE(run_until([] { return order.size() == 20001; }));
    EXPECT_LT(order.find('h'), 3000U);
    EXPECT_LT(host::instance().loop->statistics().longest_callback_us, 250'000U);
}

} // namespace
