// SPDX-License-Identifier: MIT
// Which servers are refused at the start, and what no server can do to this process.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "host/host/host.h"
#include "host/redis/shared_store.h"
#include "platform/redis_server.h"
#include "support/process.h"

namespace {

// The complaint about an address, without the address; "" when the server is taken.
std::string start(const std::string& address, const std::string& password_file = {})
{
    host::Host& host = host::instance();
    std::string error;
    const auto store = host::open_shared_store({address, password_file}, host.changes, host.clock,
                                               host.log, nullptr, error);
    EXPECT_EQ(store == nullptr, !error.empty());
    EXPECT_EQ(error.find('\n'), std::string::npos) << "one line";
    const std::string name = "AP_DATABASE: '" + address + "': ";
    return error.starts_with(name) ? error.substr(name.size()) : error;
}

TEST(RedisStart, RefusesBadAddressesWithOneLine)
{
    for (const char* const bad : {"redis", "unix:", "unix:relative", "tcp:localhost", "tcp::1",
                                  "tcp:localhost:0", "tcp:localhost:65536", "tcp:localhost:"})
        EXPECT_EQ(start(bad), "write unix:/path or tcp:host:port") << bad;
    for (const char* const bad : {"unix:/s#", "unix:/s#-1", "unix:/s#1x"})
        EXPECT_EQ(start(bad), "write #N behind the address for database N") << bad;
    EXPECT_EQ(start("unix:/" + std::string(108, 'x')),
              "the path of a socket has at most 107 characters");
    EXPECT_EQ(start("unix:/no/socket"), "No such file or directory");
    EXPECT_EQ(start("tcp:127.0.0.1:1"), "Connection refused");
}

TEST(RedisStart, RefusesAServerThatCannotBeUsed)
{
    RedisServer server({"requirepass secret", "databases 4", "maxclients 4"});
    const std::string good = server.path("good");
    const std::string bad = server.path("bad");
    const std::string full = "/dev/full";
    const std::string pipe = server.path("pipe");
    const std::string empty = server.path("empty");
    std::ofstream(good) << "secret\r\n";
    std::ofstream(bad) << "wrong\n";
    std::ofstream(empty).flush();
    mkfifo(pipe.c_str(), 0600);
    for (const std::string& file : {server.path("none"), empty, pipe, server.path("."), full})
        EXPECT_TRUE(
            start(server.address(), file).starts_with("AP_DATABASE_PASSWORD_FILE: " + file + ": "));
    EXPECT_TRUE(start(server.address(), bad).starts_with("it refuses us: WRONGPASS"));
    EXPECT_TRUE(start(server.address()).ends_with("into AP_DATABASE_PASSWORD_FILE."));
    EXPECT_EQ(start(server.address() + "#4", good), "it refuses us: ERR DB index is out of range");
    EXPECT_EQ(start(server.address() + "#3", good), "");
    const RedisServer::Connection others[]{server.connect(), server.connect()};
    EXPECT_EQ(start(server.address(), good), "it refuses us: ERR max number of clients reached");
    server.kill();
    const std::string rules = "user default on >secret allkeys &* -@all +auth +select +client|id "
                              "+subscribe +scan +mget +mset +del +publish +ping +info ";
    server.start({rules + "+client|tracking"});
    EXPECT_EQ(start(server.address(), good), "");
    server.kill();
    server.start({rules});
    const std::string complaint = start(server.address(), good);
    EXPECT_TRUE(complaint.starts_with("it cannot tell of changes, as Redis from 6.0 can: NOPERM"))
        << complaint;
}

TEST(RedisStart, WaitsWhileTheServerLoadsItsData)
{
    RedisServer server({"enable-debug-command yes"});
    server.ask("DEBUG POPULATE 10000 k 1000");
    server.ask("SAVE");
    server.kill();
    server.start({"key-load-delay 20", "loading-process-events-interval-bytes 1024"});
    EXPECT_TRUE(server.ask("GET k").starts_with("LOADING"));
    EXPECT_EQ(start(server.address()), "");
}

// Listens at that path in a process of its own, and says that to whoever comes.
pid_t be_an_impostor(const std::string& path, std::string_view words)
{
    unlink(path.c_str());
    const host::Descriptor listening(socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    path.copy(name.sun_path, sizeof name.sun_path - 1);
    EXPECT_EQ(bind(listening.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    listen(listening.get(), 8);
    const pid_t process = fork();
    while (process == 0) {
        const int client = accept(listening.get(), nullptr, nullptr);
        for (const char c : words) // a byte at a time
            send(client, &c, 1, MSG_NOSIGNAL);
    }
    return process;
}

TEST(RedisStart, BelievesNoAnnouncement)
{
    const std::string path = testing::TempDir() + "impostor." + std::to_string(getpid());
    const std::pair<const char*, const char*> cases[] = {
        {"*2147483647\r\n", "Protocol error"},  {"*1048576\r\n*1048576\r\n", "Protocol error"},
        {"$600000000\r\n", "Protocol error"},   {"$-2\r\n", "Protocol error"},
        {"HTTP/1.1 400\r\n", "Protocol error"}, {"-NO\r\n", "it refuses us: NO"},
        {"*1\r\n", "it does not answer"},       {"$9999999\r\nxxx", "it does not answer"},
    };
    for (const auto& [words, complaint] : cases) {
        const Process impostor(be_an_impostor(path, words));
        const std::uint64_t begin = host::machine_us();
        EXPECT_EQ(start("unix:" + path), complaint) << words;
        EXPECT_LT(host::machine_us() - begin, 3'000'000U) << words;
    }
    unlink(path.c_str());
}

} // namespace
