// SPDX-License-Identifier: MIT
// The daemon as one process of several, which share a database that breaks.
#ifdef POWER_MAN_HAS_REDIS
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "base/version.h"
#include "platform/redis_server.h"
#include "support/manager.h"
#include "support/process.h"
#include "support/terminal.h"

namespace {

constexpr int patience = 1000; // looks, each 10 ms after the other
const std::string limited = "ram.status.power_management.limit_background";
const std::string powered_off = "ram.status.power_management.power_off";

class SharedDatabase : public testing::Test {
protected:
    SharedDatabase()
    {
        load_seed();
        server.ask("SAVE");
        unsetenv("AP_DATABASE_SEED");
        setenv("AP_CONSOLE_PORT", std::to_string(free_port()).c_str(), 1);
        setenv("AP_LOG_LEVEL", "5", 1);
    }

    void start_daemon(const std::string& address)
    {
        setenv("AP_DATABASE", address.c_str(), 1);
        const std::string log = server.path("daemon.log");
        process_ = fork();
        ASSERT_GE(process_, 0); // as -1 it would mean every process
        if (process_ == 0) {
            setsid();
            const int file = open(log.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
            dup2(file, STDERR_FILENO);
            execl(POWER_MAN, "power_man", nullptr);
            _exit(127);
        }
    }
    // Its exit status, once asked to end unless it has ended already.
    int end_daemon() const
    {
        if (process_ <= 0 || kill(process_, SIGTERM) != 0)
            return -1;
        int status = -1;
        waitpid(process_, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -status;
    }
    bool has_ended() const
    {
        siginfo_t info{};
        return waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT) ==
                   0 &&
               info.si_pid == process_;
    }

    void load_seed()
    {
        std::ifstream seed(terminal.path("/seed"));
        for (std::string line; std::getline(seed, line);) {
            const std::size_t equals = line.find(" = ");
            if (line.starts_with('#') || equals == std::string::npos)
                continue;
            server.ask("SET %s %s", line.substr(0, equals).c_str(),
                       line.substr(equals + 3).c_str());
        }
    }

    bool comes_to(const std::string& key, const std::string& value)
    {
        for (int i = 0; i < patience; ++i) {
            if (server.ask("GET %s", key.c_str()) == value)
                return true;
            poll(nullptr, 0, 10);
        }
        return false;
    }
    void set_temperature(int value) { server.ask("SET rmcfg.sys.mainboard.temperature %d", value); }

    // Somebody who listens to the power supply's controller.
    redisContext* listen() const
    {
        redisContext* const listener = redisConnectUnix(server.socket().c_str());
        freeReplyObject(redisCommand(listener, "SUBSCRIBE psumcu.powerctrl.reboot"));
        return listener;
    }
    // Ends it; the signals that it got.
    static int count(redisContext* listener)
    {
        const timeval moment{0, 300'000};
        redisSetTimeout(listener, moment);
        int signals = 0;
        for (void* signal = nullptr; redisGetReply(listener, &signal) == REDIS_OK; ++signals)
            freeReplyObject(signal);
        redisFree(listener);
        return signals;
    }

    std::string log() const
    {
        std::ifstream file(server.path("daemon.log"));
        std::string kept;
        for (std::string line; std::getline(file, line);) {
            const bool ours = line.starts_with("Shared database " + server.address() + " is ");
            if (line.starts_with("Radio Module: 90 C is above 80"))
                kept += "hot ";
            else if (line.starts_with("Radio Module: 50 C is below 60"))
                kept += "cool ";
            else
                kept += !ours                                  ? line + "\n"
                        : line.find(" is lost: ") != line.npos ? "lost "
                                                               : "back ";
        }
        return kept;
    }

    Terminal terminal{"qv1202B"};
    RedisServer server;

private:
    pid_t process_ = -1;
};

TEST_F(SharedDatabase, EachTemperatureActsOnceThroughAllBreaks)
{
    const Manager manager(server.path("manager"));
    start_daemon(server.address());
    ASSERT_TRUE(comes_to("ram.status.interfaces.usb.extended_host_interface", "1"));
    redisContext* listener = listen();
    set_temperature(90);
    EXPECT_TRUE(comes_to(powered_off, "1"));
    EXPECT_EQ(terminal.file("/sys/class/gpio/gpio252/direction"), "out");
    EXPECT_EQ(terminal.file("/sys/class/gpio/gpio252/value"), "0");
    EXPECT_EQ(count(listener), 1);

    server.ask("CLIENT KILL TYPE normal SKIPME yes");
    listener = listen();
    poll(nullptr, 0, 300);
    EXPECT_EQ(count(listener), 0) << "the same temperature acts once";

    server.ask("SAVE");
    manager.heard();
    server.kill();
    poll(nullptr, 0, 300);
    EXPECT_EQ(manager.heard(), "STATUS=NOT PROTECTED: the database is away ");
    server.start();
    server.ask("DEL %s", limited.c_str()); // a status that was lost
    set_temperature(50);                   // a change that no event told
    EXPECT_TRUE(comes_to(limited, "0"));

    poll(nullptr, 0, 300); // everything is done and answered
    EXPECT_EQ(terminal.file("/sys/class/gpio/gpio252/value"), "1");
    server.signal(SIGSTOP);
    poll(nullptr, 0, 300); // nobody asks anything meanwhile
    server.signal(SIGCONT);
    listener = listen();
    set_temperature(90);
    EXPECT_TRUE(comes_to(limited, "1"));
    EXPECT_EQ(count(listener), 1);
    EXPECT_EQ(log(), "power_man " + std::string(power_man::version) +
                         " has started\nhot lost back lost back cool hot ");
    EXPECT_NE(manager.heard().find("STATUS=qv1202B limited since "), std::string::npos);
    EXPECT_EQ(end_daemon(), 0);
}

// A server at `path` that is the one at `behind`, but breaks the connection on which it has to say
// something for the Nth time.
pid_t break_at(int times, const std::string& path, const std::string& behind)
{
    const auto name_of = [](const std::string& text) {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        text.copy(name.sun_path, sizeof name.sun_path - 1);
        return name;
    };
    unlink(path.c_str());
    const sockaddr_un here = name_of(path);
    const sockaddr_un there = name_of(behind);
    const int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(listening, reinterpret_cast<const sockaddr*>(&here), sizeof here), 0);
    listen(listening, 8);
    const pid_t process = fork();
    if (process != 0) {
        close(listening);
        return process;
    }
    std::vector<pollfd> ends{{listening, POLLIN, 0}}; // then a client and its server in turn
    while (poll(ends.data(), ends.size(), -1) > 0) {
        for (std::size_t i = 1; i < ends.size(); ++i) {
            if (ends[i].revents == 0)
                continue;
            std::array<char, 65536> bytes;
            const std::size_t other = i % 2 == 1 ? i + 1 : i - 1;
            const ssize_t length = read(ends[i].fd, bytes.data(), bytes.size());
            const bool cut = length <= 0 || (i % 2 == 0 && --times == 0);
            if (!cut && write(ends[other].fd, bytes.data(), static_cast<std::size_t>(length)) > 0)
                continue;
            for (pollfd* const end : {&ends[i], &ends[other]}) {
                close(end->fd);
                *end = {-1, 0, 0};
            }
        }
        if (ends[0].revents != 0) {
            ends.push_back({accept(listening, nullptr, nullptr), POLLIN, 0});
            ends.push_back({socket(AF_UNIX, SOCK_STREAM, 0), POLLIN, 0});
            connect(ends.back().fd, reinterpret_cast<const sockaddr*>(&there), sizeof there);
        }
    }
    _exit(0);
}

TEST_F(SharedDatabase, AStartThatIsCutEndsOrProtects)
{
    const std::string path = server.path("cut");
    std::string ends;
    for (int piece = 1; piece <= 12; ++piece) {
        server.ask("FLUSHALL");
        load_seed();
        set_temperature(40);
        const Process breaker(break_at(piece, path, server.socket()));
        start_daemon("unix:" + path);
        for (int i = 0; i < 50 && !has_ended(); ++i)
            poll(nullptr, 0, 10);
        const bool ended = has_ended();
        set_temperature(90);
        EXPECT_TRUE(ended || comes_to(limited, "1")) << piece;
        EXPECT_EQ(end_daemon(), ended ? 1 : 0) << piece;
        std::ifstream file(server.path("daemon.log"));
        std::string line;
        std::getline(file, line);
        EXPECT_EQ(ended, line.starts_with("power_man: AP_DATABASE: ")) << line;
        EXPECT_TRUE(!ended || !std::getline(file, line)) << "more than one line: " << line;
        ends += ended ? 'e' : 'p';
    }
    EXPECT_TRUE(ends.starts_with("eee") && ends.ends_with("ppp")) << ends;
}

} // namespace
#endif
