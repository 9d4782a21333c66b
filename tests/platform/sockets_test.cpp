// SPDX-License-Identifier: MIT
#include "support/platform.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include "ap/socket.h"

namespace {

std::vector<std::string> logged;

// A listening socket with that descriptor, as a starter hands it over: its port.
std::uint16_t listen_as(int fd)
{
    sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t size = sizeof address;
    const int made = socket(AF_INET, SOCK_STREAM, 0);
    EXPECT_EQ(bind(made, reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(listen(made, 1), 0);
    EXPECT_EQ(getsockname(made, reinterpret_cast<sockaddr*>(&address), &size), 0);
    if (made != fd) {
        EXPECT_EQ(dup2(made, fd), fd);
        close(made);
    }
    return ntohs(address.sin_port);
}

void start_platform(pid_t passed_to)
{
    setenv("AP_LOG_LEVEL", "0", 1);
    setenv("LISTEN_PID", std::to_string(passed_to).c_str(), 1);
    setenv("LISTEN_FDS", "3", 1); // one more than there are
    host::forget_instance();
    host::instance().log.set_sink([](int, std::string_view text) { logged.emplace_back(text); });
    connect_platform();
    EXPECT_EQ(getenv("LISTEN_PID"), nullptr);
    EXPECT_EQ(getenv("LISTEN_FDS"), nullptr);
}

} // namespace

TEST(Sockets, PassedOnesAreTakenForTheirAddress)
{
    const std::uint16_t wanted = listen_as(3);
    const std::uint16_t other = listen_as(4);
    close(5);
    const std::string address = "tcp*127.0.0.1*" + std::to_string(wanted);
    start_platform(getpid() + 1); // not for this process: the port is somebody else's
    EXPECT_EQ(socket_create_server(address.c_str(), 0), -EADDRINUSE);
    run_loop();
    EXPECT_EQ(logged, (std::vector{"Cannot listen at " + address + ", port " +
                                   std::to_string(wanted) + ": Address already in use\n"}));
    logged.clear();

    start_platform(getpid());
    EXPECT_EQ(socket_create_server(address.c_str(), 0), 3);
    EXPECT_EQ(fcntl(3, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(socket_create_server_client(3, nullptr), -EAGAIN); // nobody is waited for
    run_loop();
    run_loop();
    EXPECT_EQ(logged, (std::vector{"Nobody listens at the socket that was passed: 127.0.0.1:" +
                                   std::to_string(other) + "\n"}));
    EXPECT_EQ(fcntl(4, F_GETFD), -1);
}
