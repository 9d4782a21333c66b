// SPDX-License-Identifier: MIT
// Which servers are refused at the start.
#include <sys/stat.h>

#include "host/redis/shared_store.h"
#include "platform/redis_server.h"

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

} // namespace
