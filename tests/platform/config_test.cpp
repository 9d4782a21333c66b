// SPDX-License-Identifier: MIT
// The contract of the configuration database, for every store that there is.
#include "support/platform.h"

#include <list>
#include <set>
#include <string>
#include <utility>
#include <vector>

#ifdef POWER_MAN_HAS_REDIS
#include "platform/redis_server.h"
#endif

namespace {

struct StoreKind {
    const char* name;
    void (*set_up)();  // leaves an empty, connected database
    void (*deliver)(); // runs the loop until every change has arrived
};

#ifdef POWER_MAN_HAS_REDIS
constexpr const char* marker = "marker.of.the.test";

void shared()
{
    static RedisServer server;
    setenv("AP_DATABASE", server.address().c_str(), 1);
    config_init_cbus(cbus_conn_create(fdloop_init(), own_bus_name().c_str()), 0);
    const auto stop = [](unsigned int, const config_data_t*, void*) {
        host::instance().loop->stop();
    };
    config_change_register(marker, stop, nullptr);
}

// What a callback writes at the marker's delivery arrives with a later one.
void deliver_shared()
{
    for (int i = 0; i < 4; ++i) {
        config_write_int(marker, i);
        host::instance().loop->run();
    }
}
#endif

// Somebody who follows keys. What it is told is one bracket for each call.
struct Follower {
    std::string name;
    std::string* story;
    std::function<void()> during;

    static void told(unsigned int count, const config_data_t* records, void* user)
    {
        auto& self = *static_cast<Follower*>(user);
        *self.story += self.name;
        for (unsigned int i = 0; i < count; ++i) {
            const auto* const value = static_cast<const std::int32_t*>(records[i].data);
            EXPECT_EQ(records[i].type, CONFIG_TYPE_INTEGER);
            EXPECT_EQ(records[i].length, value != nullptr ? 4U : 0U);
            EXPECT_EQ(records[i].status == 0, value != nullptr);
            *self.story += std::string(i > 0 ? " " : "[") + records[i].key + "=" +
                           (value != nullptr ? std::to_string(*value) : "null");
        }
        *self.story += "] ";
        if (self.during)
            self.during();
    }
    // Another callback that may share its user.
    static void also_told(unsigned int count, const config_data_t* records, void* user)
    {
        *static_cast<Follower*>(user)->story += "also:";
        told(count, records, user);
    }
};

using Values = std::vector<std::pair<std::string, const char*>>; // null: none

// What every call that names a key says to it; nothing is stored.
std::set<int> results(const char* key)
{
    std::int32_t value = 77;
    std::array<char, 4> text{"old"};
    const auto told = [](unsigned int, const config_data_t*, void*) {};
    const std::set<int> all = {config_read_int(key, &value),
                               config_read_string(key, text.data(), 4),
                               config_write_int(key, 1),
                               config_write_string(key, "1"),
                               config_status(key, &value),
                               config_change_register(key, told, nullptr),
                               config_change_deregister(key, told, nullptr)};
    EXPECT_EQ(value, 77);
    EXPECT_STREQ(text.data(), "old");
    return all;
}

class Config : public testing::TestWithParam<StoreKind> {
protected:
    Config() { GetParam().set_up(); }

    Follower& follower(const std::string& name)
    {
        return followers_.emplace_back(Follower{name, &story, {}});
    }
    static int follow(const char* key, Follower& who)
    {
        return config_change_register(key, Follower::told, &who);
    }
    static int leave(const char* key, Follower& who)
    {
        return config_change_deregister(key, Follower::told, &who);
    }
    // Together; a null text removes the key.
    static int write(const Values& values)
    {
        std::vector<host::Write> writes;
        for (const auto& [key, text] : values) {
            writes.push_back({key, std::nullopt});
            if (text != nullptr)
                writes.back().value = text;
        }
        return host::instance().configuration.write(writes);
    }
    std::string delivered()
    {
        GetParam().deliver();
        return std::exchange(story, {});
    }

    std::string story;

private:
    std::list<Follower> followers_;
};

TEST_P(Config, ChangesArriveFromTheLoopEachWithItsOwnValue)
{
    write({{"a", "1"}});
    delivered();
    write({{"a", "2"}}); // not delivered when the follower comes
    Follower& x = follower("x");
    EXPECT_EQ(follow("a", x), 0);
    EXPECT_EQ(delivered(), "") << "neither the present value nor an earlier write";

    EXPECT_EQ(config_write_int("a", 3), 0);
    EXPECT_EQ(config_write_int("a", 3), 0);
    EXPECT_EQ(config_write_string("a", "four"), 0);
    EXPECT_EQ(write({{"a", nullptr}}), 0);
    EXPECT_EQ(config_write_int("a", -5), 0);
    EXPECT_EQ(story, "") << "from inside a write";
    EXPECT_EQ(delivered(), "x[a=3] x[a=3] x[a=null] x[a=null] x[a=-5] ");
    EXPECT_EQ(delivered(), "") << "twice";

    int next = 2; // a callback writes its own key
    x.during = [&] {
        if (next <= 3)
            config_write_int("a", next++);
        story += ". "; // the delivery of its write is not inside it
    };
    config_write_int("a", 1);
    EXPECT_EQ(delivered(), "x[a=1] . x[a=2] . x[a=3] . ");
}

TEST_P(Config, WhatWasWrittenTogetherArrivesTogether)
{
    Follower& x = follower("x");
    Follower& y = follower("y");
    for (const char* const key : {"t", "t.1", "u", "t", "t."}) // several match, one is repeated
        EXPECT_EQ(follow(key, x), 0);
    follow("t.2", y);
    config_change_register("t.1", Follower::also_told, &x); // another pair
    write(
        {{"t.2", "2"}, {"other", "9"}, {"u", "0"}, {"t.1", "1"}, {"t.1", "11"}, {"t.2", nullptr}});
    write({{"t.2", "3"}});
    EXPECT_EQ(delivered(), "x[t.2=2 u=0 t.1=1 t.1=11 t.2=null] y[t.2=2 t.2=null] "
                           "also:x[t.1=1 t.1=11] x[t.2=3] y[t.2=3] ");
}

TEST_P(Config, ARegistrationMatchesTheKeyAndWhatIsBelow)
{
    Values all;
    for (const char* const key : {"a", "a.b", "a.b.c", "a.b.c.d", "a.bc", "a.b-c", "b.a.b", "A.b"})
        all.emplace_back(key, "1");
    for (const char* const key : {"a.b", "a.b."}) {
        Follower& x = follower("x");
        follow(key, x);
        write(all);
        EXPECT_EQ(delivered(), "x[a.b=1 a.b.c=1 a.b.c.d=1] ") << key;
        leave(key, x);
        std::vector<std::string> keys;
        EXPECT_EQ(host::instance().configuration.list(key, keys), 0);
        EXPECT_EQ(keys, (std::vector<std::string>{"a.b", "a.b.c", "a.b.c.d"})) << key;
    }
}

TEST_P(Config, RegistrationsChangeDuringADelivery)
{
    Follower& late = follower("late");
    Follower& self = follower("self");
    Follower& first = follower("first");
    Follower& last = follower("last");
    self.during = [&] { EXPECT_EQ(leave("k", self), 0); };
    first.during = [&] {
        leave("k", last);
        follow("k", late);
    };
    for (Follower* const who : {&self, &first, &last})
        follow("k", *who);
    follow("j", last);
    write({{"k", "1"}, {"j", "0"}});
    EXPECT_EQ(delivered(), "self[k=1] first[k=1] last[j=0] ");
    write({{"k", "2"}});
    EXPECT_EQ(delivered(), "first[k=2] late[k=2] ");
    EXPECT_EQ(leave("k", last), -ENOENT);

    // What was queued for a registration is not delivered when it has ended, nor to a new one.
    write({{"k", "3"}});
    leave("k", late);
    follow("k", late);
    leave("k", first);
    EXPECT_EQ(delivered(), "");
}

TEST_P(Config, AnIntegerIsASigned32BitDecimalText)
{
    Follower& x = follower("x");
    follow("n", x);
    for (const std::string good : {"0", "2147483647", "-2147483648"}) {
        std::int32_t value = 77;
        std::array<char, 16> text{};
        write({{"n", good.c_str()}});
        EXPECT_EQ(config_read_int("n", &value), 0) << good;
        EXPECT_EQ(std::to_string(value), good);
        EXPECT_EQ(config_write_int("m", value), 0);
        EXPECT_EQ(config_read_string("m", text.data(), text.size()), 0);
        EXPECT_EQ(text.data(), good);
        EXPECT_EQ(delivered(), "x[n=" + good + "] ");
    }
    std::int32_t untouched = 77;
    for (const char* const bad :
         {"2147483648", "-2147483649", "", "-", "+1", " 1", "1\n", "0x10", "1.0", "--1", "on"}) {
        write({{"n", bad}});
        EXPECT_EQ(config_read_int("n", &untouched), -EINVAL) << bad;
        EXPECT_EQ(delivered(), "x[n=null] ") << bad;
    }
    put_value("n", std::string_view("1\0", 2));
    EXPECT_EQ(config_read_int("n", &untouched), -EINVAL);
    EXPECT_EQ(untouched, 77);
}

TEST_P(Config, TextsAreReadWholeOrNotAtAll)
{
    write({{"s", "12345"}, {"empty", ""}});
    put_value("nul", std::string_view("a\0b", 3));
    const std::tuple<const char*, unsigned int, int, const char*> cases[] = {
        {"s", 6, 0, "12345"},          {"s", 5, -EMSGSIZE, "before"},
        {"empty", 1, 0, ""},           {"empty", 0, -EMSGSIZE, "before"},
        {"nul", 8, -EINVAL, "before"}, {"missing", 8, -ENOENT, "before"}};
    for (const auto& [key, size, result, expected] : cases) {
        std::array<char, 8> text{"before"};
        EXPECT_EQ(config_read_string(key, text.data(), size), result) << key;
        EXPECT_STREQ(text.data(), expected) << key;
        int status = 7;
        EXPECT_EQ(config_status(key, &status), 0);
        EXPECT_EQ(status, result == -ENOENT ? 0 : 1) << key;
    }
}

TEST_P(Config, RefusesBadKeysAndValuesEverywhere)
{
    Follower& x = follower("x");
    const std::string longest(255, 'k');
    const std::string too_long(256, 'k');
    for (const char* const key : {static_cast<const char*>(nullptr), "", "a b", "a\x7f", "\xc3\xa4",
                                  "a\n", too_long.c_str()}) {
        const int error = key == too_long.c_str() ? -ENAMETOOLONG : -EINVAL;
        EXPECT_EQ(results(key), std::set{error});
    }
    EXPECT_EQ(config_write_int(longest.c_str(), 1), 0);
    EXPECT_EQ(config_write_string("v", nullptr), -EINVAL);
    EXPECT_EQ(config_change_register("v", nullptr, nullptr), -EINVAL);
    const std::string longest_value(64U * 1024U, 'v');
    EXPECT_EQ(config_write_string("v", longest_value.c_str()), 0);
    EXPECT_EQ(config_write_string("v", (longest_value + "v").c_str()), -EMSGSIZE);

    // All of a batch or nothing of it.
    follow("w", x);
    EXPECT_EQ(write({{"w", "1"}, {"bad key", "1"}}), -EINVAL);
    EXPECT_EQ(delivered(), "");
    std::int32_t none = 0;
    EXPECT_EQ(config_read_int("w", &none), -ENOENT);
}

const StoreKind stores[] = {
    {"in_process", [] { connect_platform(); }, [] { run_loop(); }},
#ifdef POWER_MAN_HAS_REDIS
    {"shared", shared, deliver_shared},
#endif
};
INSTANTIATE_TEST_SUITE_P(Stores, Config, testing::ValuesIn(stores),
                         [](const auto& kind) { return std::string(kind.param.name); });

TEST(ConfigWithoutBus, EveryCallFails)
{
    EXPECT_EQ(config_init_cbus(nullptr, 0), -EINVAL);
    EXPECT_EQ(results("k"), std::set{-ENOTCONN});
}

} // namespace
