// SPDX-License-Identifier: MIT
// The daemon as a process of its own: supervision, console and end.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "ap/socket.h"
#include "host/descriptor.h"
#include "support/terminal.h"

namespace {

constexpr int patience_ms = 20000; // the test fails after it

// The datagrams that the daemon sends to its supervisor.
class Supervisor {
public:
    explicit Supervisor(const Terminal& terminal)
        : path_(terminal.path("/notify").string()), socket_(::socket(AF_UNIX, SOCK_DGRAM, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
        EXPECT_EQ(bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
                  0);
        setenv("NOTIFY_SOCKET", path_.c_str(), 1);
    }

    // Up to and with READY=1.
    std::string until_ready()
    {
        std::string all;
        while (all.find("READY=1") == std::string::npos) {
            std::array<char, 256> text;
            pollfd wait{socket_.get(), POLLIN, 0};
            if (poll(&wait, 1, patience_ms) != 1)
                return all + "(silence)";
            const ssize_t length = recv(socket_.get(), text.data(), text.size(), 0);
            all.append(text.data(), static_cast<std::size_t>(std::max<ssize_t>(0, length)));
            all += "\n";
        }
        return all;
    }

private:
    std::string path_;
    host::Descriptor socket_;
};

// Waits for the end of the process; "exit N" or "signal N".
std::string end_of(pid_t process)
{
    int status = 0;
    if (waitpid(process, &status, 0) != process)
        return "no process";
    return WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status))
                             : "signal " + std::to_string(WTERMSIG(status));
}

// A port that nobody listens at now.
int free_port()
{
    const host::Descriptor server(socket_create_server("tcp*127.0.0.1*0", 0));
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(server.get(), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

bool accepts(int port)
{
    const host::Descriptor client(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

// A supervisor may hand over no standard descriptors. No file of the board may come to stand in
// their place: the log would be written to it.
TEST(Process, TellsItsSupervisorAndEndsOnRequest)
{
    Terminal terminal("qv1608B");
    Supervisor supervisor(terminal);
    setenv("AP_CONSOLE_PORT", std::to_string(free_port()).c_str(), 1);
    const pid_t process = fork();
    if (process == 0) {
        setsid(); // away from a terminal that the test may have
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            close(descriptor);
        execl(POWER_MAN, "power_man", "--ignored", nullptr);
        _exit(127);
    }
    ASSERT_GT(process, 0);
    EXPECT_EQ(supervisor.until_ready(), "WATCHDOG_USEC=60000000\nREADY=1\n");
    for (const char* const descriptor : {"0", "1", "2"}) {
        const std::string link = "/proc/" + std::to_string(process) + "/fd/" + descriptor;
        EXPECT_EQ(std::filesystem::read_symlink(link), "/dev/null") << descriptor;
    }
    kill(process, SIGTERM);
    EXPECT_EQ(end_of(process), "exit 0");
}

TEST(ProcessInForeground, HasItsShellOnTheTerminalOnly)
{
    Terminal terminal("qv1305A");
    const int port = free_port();
    setenv("AP_CONSOLE_PORT", std::to_string(port).c_str(), 1);
    int screen = -1;
    const pid_t process = forkpty(&screen, nullptr, nullptr, nullptr);
    if (process == 0) {
        execl(POWER_MAN, "power_man", nullptr);
        _exit(127);
    }
    ASSERT_GT(process, 0);
    const host::Descriptor owner(screen);
    std::string shown;
    const auto wait_for = [&](const char* text) {
        std::array<char, 512> piece;
        while (shown.find(text) == std::string::npos) {
            pollfd wait{screen, POLLIN, 0};
            if (poll(&wait, 1, patience_ms) != 1)
                return false;
            const ssize_t length = read(screen, piece.data(), piece.size());
            if (length <= 0)
                return false;
            shown.append(piece.data(), static_cast<std::size_t>(length));
        }
        return true;
    };
    EXPECT_TRUE(wait_for("power_man")) << shown;
    EXPECT_FALSE(accepts(port));
    EXPECT_EQ(write(screen, "temp_status\n", 12), 12);
    EXPECT_TRUE(wait_for("Temp sensor name : Radio Module - V640")) << shown;
    EXPECT_EQ(write(screen, "exit\n", 5), 5);
    EXPECT_EQ(end_of(process), "exit 0") << shown;
}

} // namespace
