// SPDX-License-Identifier: MIT
// What others write into a shared database, and what nobody tells of it.
#include <array>
#include <cerrno>

#include "platform/redis_test.h"

namespace {

class RedisChanges : public RedisTest {};

TEST_F(RedisChanges, AComparisonFindsWhatNoEventTold)
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

TEST_F(RedisChanges, EachWriteOfOthersCountsOnce)
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

TEST_F(RedisChanges, AValueOfAnotherKindSpoilsNoOtherItem)
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

TEST_F(RedisChanges, AWriteBeyondTheSocketsBufferArrives)
{
    const std::string text(60'000, 'x');
    const std::vector<host::Write> writes(9, {"long", text});
    EXPECT_EQ(host::instance().configuration.write(writes), 0);
    const auto stop = [](void*) {
        host::instance().loop->stop();
        return 0;
    };
    host::instance().loop->add_timer(400, stop, nullptr); // nothing else wakes the loop
    host::instance().loop->run();
    EXPECT_EQ(server.ask("STRLEN long") + log(), "60000");
}

class RedisFlood : public RedisTest, public testing::WithParamInterface<const char*> {
protected:
    RedisFlood() : RedisTest({"notify-keyspace-events KA", GetParam()}) {}
};

TEST_P(RedisFlood, EndsWithTheRightState)
{
    static std::map<std::string, std::int32_t> values;
    const auto note = [](unsigned int count, const config_data_t* records, void*) {
        for (const config_data_t& record : std::span(records, count))
            values[record.key] = *static_cast<const std::int32_t*>(record.data);
    };
    config_change_register("t", note, nullptr);
    told();
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

// A key that somebody else has taken over since is theirs.
TEST_F(RedisChanges, WritesNothingOverOthers)
{
    config_write_int("shared.status", 1);
    config_write_int("in.reading", 20); // where nobody had told one yet
    follow("in");
    told();
    server.stop();
    EXPECT_EQ(read("a"), -ETIMEDOUT);
    EXPECT_EQ(config_write_int("shared.status", 2), -ENOTCONN);
    server.go_on();
    EXPECT_TRUE(run_until(host::RedisStore::State::live));
    told();
    EXPECT_EQ(server.ask("GET shared.status"), "2");
    store().compare();
    told();
    server.ask("SET shared.status 3");
    store().compare();
    told();
    server.ask("SAVE");
    server.kill();
    server.start();
    server.ask("SET in.reading 85"); // by one who was back earlier
    EXPECT_TRUE(lost_and_back());
    EXPECT_EQ(told(), "[in.reading=85]");
    EXPECT_EQ(server.ask("GET in.reading"), "85");
    EXPECT_EQ(server.ask("GET shared.status"), "3");
}

} // namespace
