// SPDX-License-Identifier: MIT
// Which servers are refused at the start, and what the connection's library must be kept from.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

#include "ap/socket.h"
#include "host/host/host.h"
#include "host/redis/redis_pipeline.h"
#include "host/redis/shared_store.h"
#include "platform/redis_server.h"

namespace {

// The complaint about an address, without the address; "" when the server is taken.
std::string start(const std::string& address, const std::string& password_file = {})
{
    host::Host& host = host::instance();
    std::string error;
    const auto store =
        host::open_shared_store(address, password_file, host.changes, host.clock, host.log, error);
    EXPECT_EQ(store == nullptr, !error.empty());
    EXPECT_EQ(error.find('\n'), std::string::npos) << "one line";
    const std::string name = "AP_DATABASE: '" + address + "': ";
    return error.starts_with(name) ? error.substr(name.size()) : error;
}

TEST(RedisStart, RefusesBadAddressesWithOneLine)
{
    const std::string form = "write unix:/path or tcp:host:port, with #N behind it for database N";
    const std::string name(108, 'x');
    const std::pair<std::string, std::string> cases[] = {
        {"redis", form},
        {"unix:", form},
        {"unix:relative", form},
        {"unix:/s#", form},
        {"unix:/s#-1", form},
        {"unix:/s#1x", form},
        {"tcp:localhost", form},
        {"tcp::1", form},
        {"tcp:localhost:0", form},
        {"tcp:localhost:65536", form},
        {"unix:/" + name, "the path of a socket has at most 107 characters"},
        {"unix:/no/socket", "No such file or directory"},
        {"tcp:127.0.0.1:1", "Connection refused"},
        {"tcp:no.such.host.invalid:1", "Name or service not known"},
    };
    for (const auto& [address, complaint] : cases) {
        const std::string said = start(address);
        EXPECT_TRUE(said == complaint || said.find("name resolution") != std::string::npos)
            << address << ": " << said;
    }
}

TEST(RedisStart, RefusesAServerThatCannotBeUsed)
{
    RedisServer server({"requirepass secret", "databases 4", "notify-keyspace-events KA"});
    const std::string good = server.path("good");
    const std::string bad = server.path("bad");
    std::ofstream(good) << "secret\n";
    std::ofstream(bad) << "wrong\n";
    const std::ofstream empty(server.path("empty"));
    EXPECT_EQ(start(server.address(), good), "");
    EXPECT_EQ(start(server.address() + "#3", good), "");
    EXPECT_EQ(start(server.address() + "#4", good), "it refuses us: ERR DB index is out of range");
    EXPECT_TRUE(start(server.address(), bad).starts_with("it refuses us: WRONGPASS"));
    EXPECT_TRUE(start(server.address()).ends_with("into AP_DATABASE_PASSWORD_FILE."));
    for (const char* const file : {"none", "empty"})
        EXPECT_TRUE(start(server.address(), server.path(file))
                        .starts_with("AP_DATABASE_PASSWORD_FILE: " + server.path(file)));
}

TEST(RedisStart, SaysThatTheServerIsFull)
{
    RedisServer server({"maxclients 3", "notify-keyspace-events KA"});
    RedisServer::Connection others[2]{server.connect(), server.connect()};
    for (int free = 0; free < 2; ++free) {
        EXPECT_EQ(start(server.address()), "it refuses us: ERR max number of clients reached");
        others[free].reset();
    }
}

TEST(RedisStart, MakesSureThatChangesAreTold)
{
    RedisServer server({"notify-keyspace-events Ex"});
    EXPECT_EQ(start(server.address()), "");
    EXPECT_EQ(start(server.address() + "#1"), "");
    redisReply* const flags =
        static_cast<redisReply*>(redisCommand(server.peer(), "CONFIG GET notify-keyspace-events"));
    EXPECT_STREQ(flags->element[1]->str, "AKE") << "what others asked for is still there";
    freeReplyObject(flags);

    const std::string advice = "put 'notify-keyspace-events KA' into the server's configuration";
    for (const char* const flag : {"", "K$", "EA"}) {
        server.kill();
        server.start({"rename-command CONFIG nothing",
                      std::string("notify-keyspace-events \"") + flag + "\""});
        EXPECT_TRUE(start(server.address()).ends_with(advice)) << flag;
    }
    for (const char* const line : {"", "maxmemory 1"}) { // takes no writes: it may tell of them
        server.kill();
        server.start({"rename-command CONFIG nothing", "notify-keyspace-events KA", line});
        EXPECT_EQ(start(server.address()), "");
    }
}

TEST(RedisStart, WaitsWhileTheServerLoadsItsData)
{
    RedisServer server({"enable-debug-command yes", "notify-keyspace-events KA"});
    server.ask("DEBUG POPULATE 10000 k 1000");
    server.ask("SAVE");
    server.kill();
    server.start({"key-load-delay 20", "loading-process-events-interval-bytes 1024",
                  "notify-keyspace-events KA"});
    EXPECT_TRUE(server.ask("GET k").starts_with("LOADING"));
    EXPECT_EQ(start(server.address()), "");
}

// Sends a reply byte by byte.
pid_t drip(int listening)
{
    const pid_t process = fork();
    if (process != 0)
        return process;
    const int client = accept(listening, nullptr, nullptr);
    for (const char c : std::string_view("+OK\r\n$5\r\nhello\r\n")) {
        if (write(client, &c, 1) != 1)
            break;
        poll(nullptr, 0, 50);
    }
    _exit(0);
}

TEST(RedisLinkTest, ADrippingServerCostsOneDeadline)
{
    struct Owner : host::PipelineOwner {
        void write_finished(const host::WriteResult&) override {}
    } owner;
    const host::Descriptor listening(socket_create_server("tcp*127.0.0.1*0", 0));
    host::Endpoint endpoint{};
    endpoint.size = sizeof endpoint.address;
    getsockname(listening.get(), reinterpret_cast<sockaddr*>(&endpoint.address), &endpoint.size);
    const pid_t server = drip(listening.get());
    ASSERT_GT(server, 0);
    int error = 0;
    host::CallBudget budget;
    budget.renew(); // the loop runs
    host::RedisPipeline pipeline(budget, owner);
    pipeline.open(host::RedisLink::open(endpoint, error), {}, 0);
    EXPECT_NE(fcntl(pipeline.link()->descriptor(), F_GETFD) & FD_CLOEXEC, 0);

    pipeline.ask({"GET", "k"});
    std::vector<host::Reply> replies;
    const std::uint64_t begin = host::machine_us();
    EXPECT_EQ(pipeline.answers(replies, budget.deadline()), -ETIMEDOUT);
    const std::uint64_t taken = host::machine_us() - begin;
    EXPECT_GE(taken, host::CallBudget::call_us);
    EXPECT_LT(taken, 2 * host::CallBudget::call_us) << "the reply takes three times as long";
    kill(server, SIGKILL);
    waitpid(server, nullptr, 0);
}

} // namespace
