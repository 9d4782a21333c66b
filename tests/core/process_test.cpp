// SPDX-License-Identifier: MIT
// The daemon as a process of its own on a terminal.
#include <netinet/in.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

#include "ap/socket.h"
#include "host/descriptor.h"
#include "support/terminal.h"

namespace {

constexpr int patience_ms = 20000; // the test fails after it

TEST(ProcessInForeground, HasItsShellOnTheTerminalOnly)
{
    Terminal terminal("qv1202B");
    // The console's port is taken: a telnet server there would end the daemon.
    const host::Descriptor server(socket_create_server("tcp*127.0.0.1*0", 0));
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(server.get(), reinterpret_cast<sockaddr*>(&address), &size);
    setenv("AP_CONSOLE_PORT", std::to_string(ntohs(address.sin_port)).c_str(), 1);
    int screen = -1;
    termios before{}; // as some other program may have left it
    before.c_lflag = ICANON | ECHO | IEXTEN;
    before.c_iflag = IXON;
    before.c_cc[VMIN] = before.c_cc[VTIME] = 9;
    const pid_t process = forkpty(&screen, nullptr, &before, nullptr);
    if (process == 0) {
        execl(POWER_MAN, "power_man", "--ignored", nullptr);
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
    const auto modes = [&] {
        termios now{};
        EXPECT_EQ(tcgetattr(screen, &now), 0);
        return std::array<tcflag_t, 4>{now.c_lflag, now.c_iflag, now.c_cc[VMIN], now.c_cc[VTIME]};
    };
    EXPECT_TRUE(wait_for("power_man")) << shown;
    EXPECT_EQ(modes(), (std::array<tcflag_t, 4>{0, 0, 1, 0}));
    EXPECT_EQ(write(screen, "temp_status\n", 12), 12);
    EXPECT_TRUE(wait_for("Temp sensor name : HPA")) << shown;
    // The amplifier's readings are copied, or nobody would notice its heat.
    const std::string copied = "config watch ram.status.hpa\n"
                               "config set rmcfg.platform.hpa.temperature 33\n";
    EXPECT_EQ(write(screen, copied.data(), copied.size()), static_cast<ssize_t>(copied.size()));
    EXPECT_TRUE(wait_for("set ram.status.hpa.temperature 33")) << shown;
    EXPECT_EQ(write(screen, "exit\n", 5), 5);
    int status = -1;
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status << shown;
    EXPECT_EQ(modes(), (std::array<tcflag_t, 4>{before.c_lflag, before.c_iflag, 9, 9}));
}

} // namespace
