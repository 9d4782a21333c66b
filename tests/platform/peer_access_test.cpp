// SPDX-License-Identifier: MIT
// The console's door: users come by the kernel's socket tables.
#include "host/net/peer_access.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "ap/socket.h"
#include "host/base/descriptor.h"
#include "host/host/host.h"
#include "support/process.h"

namespace {

std::string logged;

sockaddr_in loopback(std::uint16_t port)
{
    return {AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
}

TEST(PeerAccess, FindsTheOwnerInTheKernelsTables)
{
    const std::string heading = "  sl  local_address rem_address   st tx_queue rx_queue\n";
    const std::string middle = " 00000000:00000000 00:00000000 00000000 ";
    const auto row = [&](const char* ends_and_state, const char* uid, const char* inode = "12345") {
        return std::string("   0: ") + ends_and_state + middle + uid + "        0 " + inode +
               " 1\n";
    };
    const struct {
        std::string table;
        int owner; // -1: not there
    } cases[] = {
        {"", -1},
        {row("0100007F:9C40 0100007F:089D 01", "1000"), 1000},
        {row("0100007F:089D 0100007F:9C40 01", "0"), -1},      // the daemon's own end
        {row("0100007F:9C40 0100007F:089D 05", "0", "0"), -1}, // closed by its process
        {row("0100007F:9C40 0100007F:089D 05", "1000"), 1000}, // closed for writing only
        {row("0200007F:9C40 0100007F:089D 01", "1000"), -1},   // another client
        {row("0100007F:9C41 0100007F:089D 01", "0"), -1},
        {row("0000000000000000FFFF00000100007F:9C40 0000000000000000FFFF00000100007F:089D 01",
             "65534"),
         65534},
        {"   0: 0100007F:9C40 0100007F:089D 01\n", -1}, // cut
        {"   0: 0100007F:9C40 0100007F:089D 01" + middle + "root 0\n", -1},
    };
    for (const auto& c : cases) {
        std::string text = heading + c.table;
        std::FILE* const table = fmemopen(text.data(), text.size(), "r");
        const auto owner = host::find_owner(table, loopback(40000), loopback(2205));
        std::fclose(table);
        EXPECT_EQ(owner ? static_cast<int>(*owner) : -1, c.owner) << c.table;
    }
}

// Connects as `user` and says what the server made of it.
int accept_from(uid_t user)
{
    setenv("AP_LOG_LEVEL", "0", 1);
    host::instance().log.set_sink([](int, std::string_view text) { logged += text; });
    const host::Descriptor server(socket_create_server("tcp*127.0.0.1*0", 0));
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(server.get(), reinterpret_cast<sockaddr*>(&address), &size);
    const pid_t forked = fork();
    if (forked == 0) {
        if (setuid(user) != 0)
            _exit(1);
        const host::Descriptor client(socket(AF_INET, SOCK_STREAM, 0)); // belongs to the user
        char byte = 0; // comes never: the server closes its end
        _exit(connect(client.get(), reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                      read(client.get(), &byte, 1) == 0
                  ? 0
                  : 1);
    }
    Process child(forked);
    int client = -EAGAIN;
    for (int i = 0; i < 500 && client == -EAGAIN; ++i) {
        client = socket_create_server_client(server.get(), nullptr);
        usleep(2000);
    }
    if (client >= 0)
        close(client);
    EXPECT_EQ(child.end(), "exit 0") << "the client was not let go";
    return client;
}

TEST(PeerAccess, ClosesTheConnectionOfAnotherUser)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can be another user";
    constexpr uid_t nobody = 65534;
    EXPECT_EQ(accept_from(nobody), -EACCES);
    EXPECT_EQ(accept_from(nobody), -EACCES); // is not logged again,
    EXPECT_GT(accept_from(0), 0);
    EXPECT_EQ(accept_from(nobody), -EACCES); // but now is
    const std::string line = "Console: a client of user 65534 is refused\n";
    EXPECT_EQ(logged, line + line);
    ASSERT_EQ(seteuid(nobody), 0); // a daemon of that user lets root in
    EXPECT_GT(accept_from(0), 0);
    EXPECT_EQ(seteuid(0), 0);
}

} // namespace
