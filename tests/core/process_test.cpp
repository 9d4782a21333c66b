// SPDX-License-Identifier: MIT
// The daemon as a process of its own on a terminal.
#include "support/process.h"

#include <netinet/in.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>

#include <cstdlib>
#include <cstring>

#include "ap/socket.h"
#include "host/base/descriptor.h"
#include "support/terminal.h"

namespace {

constexpr int patience_ms = 20000; // the test fails after it

using Modes = std::array<tcflag_t, 6>;

class ProcessInForeground : public testing::Test {
protected:
    void SetUp() override
    {
        // The console's port is taken: a telnet server there would end the daemon.
        sockaddr_in address{};
        socklen_t size = sizeof address;
        getsockname(server_.get(), reinterpret_cast<sockaddr*>(&address), &size);
        setenv("AP_CONSOLE_PORT", std::to_string(ntohs(address.sin_port)).c_str(), 1);
        start();
    }

    void start()
    {
        termios modes{};
        modes.c_lflag = before[0];
        modes.c_iflag = before[1];
        modes.c_cc[VMIN] = modes.c_cc[VTIME] = static_cast<cc_t>(before[2]);
        modes.c_oflag = before[4];
        modes.c_cc[VINTR] = static_cast<cc_t>(before[5]);
        int screen = -1;
        const pid_t child = forkpty(&screen, nullptr, &modes, nullptr);
        if (child == 0) {
            for (const int number : {SIGHUP, SIGINT, SIGQUIT}) // which nohup and scripts ignore
                std::signal(number, SIG_DFL);
            execl(POWER_MAN, "power_man", "--ignored", nullptr);
            _exit(127);
        }
        if (child < 0)
            GTEST_SKIP() << "no pseudo-terminal can be had: " << std::strerror(errno);
        process = Process(child);
        screen_ = host::Descriptor(screen);
        shown.clear();
        EXPECT_TRUE(shows("power_man")) << shown;
    }

    Modes modes_now() const
    {
        termios now{};
        EXPECT_EQ(tcgetattr(screen_.get(), &now), 0);
        return {now.c_lflag,     now.c_iflag, now.c_cc[VMIN],
                now.c_cc[VTIME], now.c_oflag, now.c_cc[VINTR]};
    }

    void type(const std::string& text) const
    {
        EXPECT_EQ(write(screen_.get(), text.data(), text.size()),
                  static_cast<ssize_t>(text.size()));
    }

    bool shows(const char* text, int patience = patience_ms)
    {
        std::array<char, 512> piece;
        while (shown.find(text) == std::string::npos) {
            pollfd wait{screen_.get(), POLLIN, 0};
            if (poll(&wait, 1, patience) != 1)
                return false;
            const ssize_t length = read(screen_.get(), piece.data(), piece.size());
            if (length <= 0)
                return false;
            shown.append(piece.data(), static_cast<std::size_t>(length));
        }
        return true;
    }

    // Of some other program.
    static constexpr Modes before{ICANON | ECHO | IEXTEN | ISIG, IXON, 9, 9, OPOST | ONLCR, 3};
    static constexpr Modes own_modes{ISIG, 0, 1, 0, OPOST, _POSIX_VDISABLE};
    Process process;
    std::string shown;

private:
    Terminal terminal_{"qv1202B"};
    host::Descriptor server_{socket_create_server("tcp*127.0.0.1*0", 0)};
    host::Descriptor screen_;
};

TEST_F(ProcessInForeground, HasItsShellOnTheTerminalOnly)
{
    EXPECT_EQ(modes_now(), own_modes);
    type("temp_status\n");
    EXPECT_TRUE(shows("Temp sensor name : HPA")) << shown;
    // The amplifier's readings are copied, or nobody would notice its heat.
    type("config watch ram.status.hpa\n"
         "config set rmcfg.platform.hpa.temperature 33\n");
    EXPECT_TRUE(shows("set ram.status.hpa.temperature 33")) << shown;
    type("exit\x03help exit\n");
    EXPECT_TRUE(shows("exit^C\r\npower_man> help exit\r\nEnds this shell\r\n")) << shown;
    EXPECT_EQ(shown.find("\r\r"), std::string::npos) << shown;
    type("\x04");
    EXPECT_EQ(process.end(), "exit 0");
    EXPECT_EQ(modes_now(), before);
}

TEST_F(ProcessInForeground, WaitsForNobodyAtTheTerminal)
{
    EXPECT_TRUE(shows("power_man")) << shown;
    for (int i = 0; i < 400; ++i) // far more than a terminal holds
        type("help\n");
    usleep(300'000);
    EXPECT_FALSE(shows("everything that is left", 300));
    type("help exit\n");
    EXPECT_TRUE(shows(" lines were dropped\r\n")) << shown;
    EXPECT_TRUE(shows("help exit\r\nEnds this shell\r\n")) << shown;
    process.signal(SIGINT);
    EXPECT_EQ(process.end(), "exit 0");
    EXPECT_EQ(modes_now(), before);
}

TEST_F(ProcessInForeground, LeavesTheTerminalAsItWas)
{
    for (const int number : {SIGABRT, SIGHUP, SIGQUIT}) {
        EXPECT_EQ(modes_now(), own_modes);
        EXPECT_TRUE(process.signal(number));
        EXPECT_EQ(process.end(), "signal " + std::to_string(number));
        EXPECT_EQ(modes_now(), before);
        start();
    }
}

// Nobody could let it go on again: the system does not stop it.
TEST_F(ProcessInForeground, KeepsTheTerminalWhenItIsToStop)
{
    EXPECT_TRUE(process.signal(SIGTSTP));
    type("temp_status\n");
    EXPECT_TRUE(shows("Temp sensor name : HPA")) << shown;
    EXPECT_EQ(modes_now(), own_modes);
}

// Signal 0 is only tried: it would harm nobody.
TEST(ProcessThatIsNone, GetsNoSignal)
{
    for (const pid_t many : {-1, 0}) {
        EXPECT_FALSE(Process(many).signal(0));
        EXPECT_EQ(Process(many).end(), "none");
    }
}

} // namespace
