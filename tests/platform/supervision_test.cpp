// SPDX-License-Identifier: MIT
#include "support/manager.h"

#include "ap/supervision.h"
#include "support/platform.h"

namespace {

std::string logged;

class Supervision : public testing::Test {
protected:
    Supervision()
    {
        logged.clear();
        host::instance().clock.make_virtual();
        host::instance().log.set_sink([](int, std::string_view text) { logged += text; });
    }

    const OwnDirectory directory;
    const std::string path = directory.path() / "notify";
    _fdloop_t* const loop = fdloop_init();
};

TEST_F(Supervision, SpeaksTheNotifyProtocol)
{
    for (const std::string& name : {path, "@power_man_test_" + std::to_string(getpid())}) {
        const Manager manager(name);
        EXPECT_EQ(appmgr_alive_fdloop_register(loop) + appmgr_signal(), 0);
        EXPECT_EQ(appmgr_status(("on " + name).c_str()), 0);
        EXPECT_EQ(manager.heard(), "STATUS=on " + name + " "); // not ready before the loop turns
        EXPECT_EQ(appmgr_status(("on " + name + "\nand more").c_str()), 0);
        run_loop(3600'000); // nobody waits for signs of life
        EXPECT_EQ(manager.heard(), "READY=1 ");
        EXPECT_EQ(appmgr_set_dead_time(60000), 0);
        run_loop(29'999);
        EXPECT_EQ(manager.heard(), "WATCHDOG_USEC=60000000 ");
        run_loop(60'001);
        EXPECT_EQ(manager.heard(), "WATCHDOG=1 WATCHDOG=1 WATCHDOG=1 ");
        EXPECT_EQ(appmgr_set_dead_time(1000), 0); // also for the beat that is on its way
        run_loop(1000);
        EXPECT_EQ(manager.heard(), "WATCHDOG_USEC=1000000 WATCHDOG=1 WATCHDOG=1 ");
        EXPECT_EQ(appmgr_set_dead_time(1), 0);
        run_loop(3); // comes back: no beat is due at once for ever
        EXPECT_EQ(appmgr_set_dead_time(0), 0);
        manager.heard();
        run_loop(3600'000);
        EXPECT_EQ(manager.heard(), "");
    }
    EXPECT_EQ(logged, "");
}

TEST_F(Supervision, TakesTheManagersOwnDeadTime)
{
    const Manager manager(path);
    for (const char* const bad : {"", "-5000000", "5000000s", "99999999999999999999999"}) {
        setenv("WATCHDOG_USEC", bad, 1);
        appmgr_alive_fdloop_register(loop);
        run_loop(3600'000);
        EXPECT_EQ(manager.heard(), "") << bad;
    }
    setenv("WATCHDOG_USEC", "20000000", 1);
    appmgr_alive_fdloop_register(loop);
    run_loop(20'000);
    EXPECT_EQ(manager.heard(), "WATCHDOG=1 WATCHDOG=1 ");
}

TEST_F(Supervision, AManagerThatIsNotReachedIsOneLogLine)
{
    appmgr_alive_fdloop_register(loop);
    for (const std::string& name : {path, std::string(200, 'n'), path}) {
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
        EXPECT_LT(appmgr_set_dead_time(1000), 0);
        EXPECT_LT(appmgr_status(name.c_str()), 0);
        run_loop(10'000);
        const char* const why = name == path ? "No such file or directory" : "File name too long";
        EXPECT_EQ(logged, "Supervision at " + name + " is not reached: " + why + "\n");

        const Manager manager(path); // in between, so that it is told again
        run_loop(500);
        EXPECT_EQ(manager.heard(), "WATCHDOG=1 ");
        logged.clear();
        unlink(path.c_str());
    }
}

TEST(LogDeathTest, LinesReachStandardErrorByLevel)
{
    const auto lines = [] {
        qv_slog(3, "a %s\n", "line");
        qv_slog(6, "too detailed\n");
        qv_slog(5, "%s", std::string(2000, 'x').c_str());
        qv_panic("panic %d\n", 7);
    };
    const std::string cut(1023, 'x');
    setenv("AP_LOG_LEVEL", "5", 1);
    EXPECT_EXIT(lines(), testing::KilledBySignal(SIGABRT), "^a line\n" + cut + "\npanic 7\n$");
    setenv("JOURNAL_STREAM", "1:2", 1);
    EXPECT_EXIT(lines(), testing::KilledBySignal(SIGABRT),
                "^<3>a line\n<5>" + cut + "\n<1>panic 7\n$");
}

} // namespace
