// SPDX-License-Identifier: MIT
// The daemon as one process of several, which share a database that breaks.
#ifdef POWER_MAN_HAS_REDIS
#include <fcntl.h>
#include <gtest/gtest.h>

#include "base/version.h"
#include "platform/redis_server.h"
#include "support/manager.h"
#include "support/terminal.h"

namespace {

constexpr int patience = 1000; // looks, each 10 ms after the other
const std::string limited = "ram.status.power_management.limit_background";
const std::string powered_off = "ram.status.power_management.power_off";

class SharedDatabase : public testing::Test {
protected:
    SharedDatabase()
    {
        server.load(terminal.path("/seed"));
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

} // namespace
#endif
