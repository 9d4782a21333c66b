// SPDX-License-Identifier: MIT
#include "ap/loop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>

#include "ap/config.h"
#include "ap/log.h"
#include "ap/text.h"
#include "host/clock.h"
#include "host/host.h"

namespace {

using host::Descriptor;

class RealLoop : public testing::Test {
protected:
    using Handler = std::function<int(int)>;

    static int call(int fd, void* user) { return (*static_cast<Handler*>(user))(fd); }
    static int fire(void* user) { return call(-1, user); }

    void* keep(Handler handler) { return &handlers_.emplace_back(std::move(handler)); }
    int watch(int fd, Handler handler)
    {
        return fdloop_fd_register(loop, fd, call, keep(std::move(handler)));
    }
    int watch_except(int fd, Handler handler)
    {
        return fdloop_fd_register_except(loop, fd, call, keep(std::move(handler)));
    }
    int timer(unsigned int milliseconds, std::function<void()> action)
    {
        return fdloop_timer_add(loop, milliseconds, fire, keep([action = std::move(action)](int) {
                                    action();
                                    return 0;
                                }));
    }
    int say_later(unsigned int milliseconds, const std::string& word)
    {
        return timer(milliseconds, [this, word] { say(word); });
    }
    void say(const std::string& word) { story += word + " "; }

    // Readable from the start, and until somebody reads it.
    static int ready() { return eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK); }
    static void drain(int fd)
    {
        std::uint64_t count = 0;
        EXPECT_EQ(read(fd, &count, sizeof count), static_cast<ssize_t>(sizeof count));
    }
    static void make_ready(int fd) { EXPECT_EQ(eventfd_write(fd, 1), 0); }

    _fdloop_t* const loop = fdloop_init();
    std::string story;

private:
    std::deque<Handler> handlers_;
};

class Loop : public RealLoop {
protected:
    Loop() { host::clock::make_virtual(); }

    std::string run(std::uint64_t milliseconds)
    {
        loop->run_for(milliseconds);
        return std::exchange(story, {});
    }
};

// Two ends of a connection whose urgent data is an exceptional condition.
struct Urgent {
    Urgent()
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        here = Descriptor(ends[0]);
        there = Descriptor(ends[1]);
    }
    void send_byte(int flags) const { EXPECT_EQ(send(there.get(), "!", 1, flags), 1); }
    void take_urgent() const
    {
        char byte = 0;
        EXPECT_EQ(recv(here.get(), &byte, 1, MSG_OOB), 1);
    }
    Descriptor here;
    Descriptor there;
};

TEST_F(Loop, AnEndedWatchLeavesTheNumberToItsNextOwner)
{
    const int fd = ready();
    watch(fd, [&](int old) {
        say("old");
        close(old);
        EXPECT_EQ(ready(), old);
        EXPECT_EQ(watch(old, [&](int now) { return say("new"), drain(now), 0; }), 0);
        return 1;
    });
    EXPECT_EQ(run(0), "old new ");
    make_ready(fd);
    EXPECT_EQ(run(0), "new ") << "the new watch went with the old one";

    // The next owner is somebody who does not watch it.
    close(fd);
    EXPECT_EQ(ready(), fd);
    watch(fd, [&](int old) {
        say("closed");
        close(old);
        EXPECT_EQ(ready(), old);
        return 1;
    });
    EXPECT_EQ(run(0), "closed ");
    EXPECT_EQ(watch(fd, [&](int now) { return say("free"), drain(now), 1; }), 0);
    EXPECT_EQ(run(0), "free ");
    make_ready(fd);
    EXPECT_EQ(run(0), "") << "a non-zero result did not end the watch";
    close(fd);
}

TEST_F(Loop, ADuplicateOfAClosedDescriptorDoesNotKeepTheLoopAwake)
{
    const int fd = ready();
    const int first = dup(fd);
    const Descriptor last(dup(fd));
    const auto drained = [this](const char* word) {
        return [this, word](int now) { return say(word), drain(now), 0; };
    };
    watch(fd, [&](int old) {
        say("old");
        close(old);
        EXPECT_EQ(ready(), old);
        EXPECT_EQ(watch(old, drained("new")), 0);
        return 1;
    });
    watch(first, [&](int old) { return say("duplicate"), close(old), 1; });
    const Descriptor other(ready());
    watch(other.get(), drained("other"));
    EXPECT_EQ(run(0), "old duplicate other new "); // and returns: the last duplicate is ready
    make_ready(fd);
    make_ready(other.get());
    EXPECT_EQ(run(0), "new other ") << "lost with the duplicates";
    close(fd);
}

TEST_F(Loop, AHandlerRemovesAnotherOrItself)
{
    const Urgent a;
    const Urgent b;
    const auto remove_other = [&](const Urgent& other) {
        return [&](int) {
            say("one");
            EXPECT_EQ(fdloop_fd_unregister_except(loop, other.here.get()), 0);
            return 0;
        };
    };
    const int a_fd = a.here.get();
    watch_except(a_fd, [&](int) { return a.take_urgent(), remove_other(b)(0); });
    watch_except(b.here.get(), [&](int) { return b.take_urgent(), remove_other(a)(0); });
    a.send_byte(MSG_OOB); // both in one batch: the first to run removes the second
    b.send_byte(MSG_OOB);
    EXPECT_EQ(run(0), "one ");

    for (const int result : {0, 1}) {
        const Urgent own;
        watch_except(own.here.get(), [&](int fd) {
            say("self");
            EXPECT_EQ(fdloop_fd_unregister_except(loop, fd), 0);
            EXPECT_EQ(fdloop_fd_unregister_except(loop, fd), -ENOENT);
            return result;
        });
        own.send_byte(MSG_OOB);
        EXPECT_EQ(run(0), "self ");
    }
}

TEST_F(Loop, UrgentDataIsAnExceptionalCondition)
{
    const Urgent line;
    int result = 0;
    const auto handler = [&](int) { return say("urgent"), line.take_urgent(), result; };
    EXPECT_EQ(watch_except(line.here.get(), handler), 0);
    line.send_byte(0);
    EXPECT_EQ(run(0), "") << "ordinary input is none";
    line.send_byte(MSG_OOB);
    EXPECT_EQ(run(0), "urgent ");
    result = 1;
    line.send_byte(MSG_OOB);
    EXPECT_EQ(run(0), "urgent ");
    line.send_byte(MSG_OOB);
    EXPECT_EQ(run(0), "") << "the watch has ended";
    EXPECT_EQ(fdloop_fd_unregister_except(loop, line.here.get()), -ENOENT);
    EXPECT_EQ(watch_except(line.here.get(), handler), 0);
    EXPECT_EQ(fdloop_fd_unregister_except(loop, line.here.get()), 0);
    EXPECT_EQ(run(0), "");
}

// On an emulated board, where the number of a line's file is soon in use again.
TEST_F(Loop, AWatchedPlainFileIsReopenedByItsHandler)
{
    const std::filesystem::path line =
        testing::TempDir() + "power_man_line_" + std::to_string(getpid());
    std::filesystem::create_directory(line);
    const auto put = [&](const char* file, const char* text) {
        std::ofstream(line / file) << text;
    };
    const auto reopen = [&] { return open((line / "value").c_str(), O_RDONLY | O_CLOEXEC); };
    put("edge", "both");
    put("value", "0");
    const int fd = reopen();
    const Handler last = [&](int) { return say("reopened"), 0; };
    const Handler first = [&](int old) {
        say("old");
        close(old);
        EXPECT_EQ(reopen(), old);
        EXPECT_EQ(watch_except(old, last), 0);
        return 1;
    };
    EXPECT_EQ(watch_except(fd, first), 0);
    put("value", "1");
    EXPECT_EQ(run(0), "old ");
    EXPECT_EQ(watch_except(fd, last), -EEXIST);
    put("value", "0");
    EXPECT_EQ(run(0), "reopened ");
    EXPECT_EQ(fdloop_fd_unregister_except(loop, fd), 0);
    put("value", "1");
    EXPECT_EQ(run(0), "");
    close(fd);
    std::filesystem::remove_all(line);
}

TEST_F(Loop, RefusesWhatItCannotWatch)
{
    const Descriptor file(open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
    const Descriptor watched(ready());
    const int closed = ready();
    close(closed);
    const auto handler = [](int) { return 1; };
    EXPECT_EQ(watch(watched.get(), handler), 0);
    const struct {
        int fd;
        int error;
    } cases[] = {{-1, -EBADF},
                 {closed, -EBADF},
                 {INT_MAX, -EBADF},
                 {watched.get(), -EEXIST},
                 {file.get(), -EPERM}};
    for (const auto& [fd, error] : cases)
        EXPECT_EQ(watch(fd, handler), error) << fd;
    for (const int fd : {-1, closed, INT_MAX, watched.get(), file.get()})
        EXPECT_EQ(fdloop_fd_unregister_except(loop, fd), -ENOENT) << fd;
}

TEST_F(Loop, TimersFireInOrderOfDueTimeThenOfAdding)
{
    say_later(30, "30");
    const int restarted = say_later(10, "10-restarted");
    say_later(10, "10-second");
    say_later(0, "0");
    const int shortened = say_later(UINT_MAX, "20-shortened");
    say_later(20, "20");
    EXPECT_GT(restarted, 0);
    EXPECT_NE(restarted, shortened);
    EXPECT_EQ(fdloop_timer_set_interval(restarted, 10), 0);
    EXPECT_EQ(fdloop_timer_set_interval(shortened, 20), 0);
    EXPECT_EQ(run(9), "0 ");
    EXPECT_EQ(run(20), "10-second 10-restarted 20 20-shortened ");
    EXPECT_EQ(run(1), "30 ");
    for (const int id : {restarted, 0, -1, INT_MAX})
        EXPECT_EQ(fdloop_timer_set_interval(id, 1), -ENOENT) << id;
    int own = 0;
    own = timer(1, [&] { EXPECT_EQ(fdloop_timer_set_interval(own, 1), -ENOENT); });
    EXPECT_EQ(run(10), "");
}

TEST_F(Loop, ATimerAddedByATimerRunsInALaterTurn)
{
    const Descriptor source(ready());
    timer(5, [&] {
        say("first");
        watch(source.get(), [&](int fd) { return say("input"), drain(fd), 0; });
        say_later(0, "second");
    });
    say_later(5, "same-time");
    EXPECT_EQ(run(5), "first same-time input second ");
}

TEST_F(Loop, VirtualHoursPassAtOnce)
{
    int beats = 0;
    std::function<void()> beat = [&] {
        ++beats;
        timer(5000, beat);
    };
    timer(5000, beat);
    const std::int32_t start = qv_time();
    run(10U * 3600U * 1000U);
    EXPECT_EQ(beats, 7200);
    EXPECT_EQ(qv_time() - start, 36000);

    // A callback that waits delays what is due meanwhile, and nothing else.
    const std::uint32_t now = qv_time_ms();
    const auto at = [&](const char* word) { say(word + std::to_string(qv_time_ms() - now)); };
    timer(10, [&] {
        qv_time_ms_delay(25);
        at("waited@");
    });
    timer(20, [&] { at("late@"); });
    timer(40, [&] { at("on-time@"); });
    timer(60, [&] { loop->stop(); });
    timer(61, [&] { at("after-stop@"); });
    EXPECT_EQ(fdloop_loop(loop), 0);
    EXPECT_EQ(story, "waited@35 late@35 on-time@40 ");
}

TEST_F(RealLoop, WaitsForTheMachinesClock)
{
    const std::uint32_t start = qv_time_ms();
    const std::uint64_t wake_ups = loop->statistics().wake_ups;
    std::uint32_t took = 0;
    timer(6, [&] {
        took = qv_time_ms() - start;
        loop->stop();
    });
    // Signals on the way neither end the loop nor make the timer early.
    struct sigaction ignore {};
    ignore.sa_handler = [](int) {};
    sigaction(SIGALRM, &ignore, nullptr);
    const itimerval alarm{{0, 0}, {0, 2000}};
    setitimer(ITIMER_REAL, &alarm, nullptr);
    EXPECT_EQ(fdloop_loop(loop), 0);
    EXPECT_GE(took, 6U);
    EXPECT_LE(loop->statistics().wake_ups - wake_ups, 4U) << "it did not sleep";
}

TEST_F(RealLoop, NoSourceStarvesAnother)
{
    constexpr int enough = 3;
    constexpr int far_too_many = 100'000; // somebody else is starved
    std::array<Descriptor, 70> floods;
    std::array<int, 70> calls{};
    for (std::size_t i = 0; i < floods.size(); ++i) {
        floods[i] = Descriptor(ready());
        watch(floods[i].get(), [&calls, i, this](int) {
            if (++calls[i] == far_too_many)
                loop->stop();
            return 0;
        });
    }
    // Nor does a change callback that writes its own key, nor a timer that adds itself.
    config_init_cbus(cbus_conn_create(loop, "test"), 0);
    int changes = 0;
    void* const again = keep([&](int) { return ++changes, config_write_int("own", 1); });
    const auto changed = [](unsigned int, const config_data_t*, void* user) { fire(user); };
    config_change_register("own", changed, again);
    config_write_int("own", 1);
    int fired = 0;
    std::function<void()> spin = [&] {
        ++fired;
        if (changes >= enough && *std::min_element(calls.begin(), calls.end()) >= enough &&
            !story.empty())
            loop->stop();
        timer(0, spin);
    };
    spin();
    say_later(2, "timer");
    EXPECT_EQ(fdloop_loop(loop), 0);
    EXPECT_EQ(story, "timer ");
    EXPECT_GE(changes, enough);
    EXPECT_GE(fired, enough);
    EXPECT_GE(*std::min_element(calls.begin(), calls.end()), enough);
    EXPECT_LT(*std::max_element(calls.begin(), calls.end()), far_too_many);
}

TEST_F(RealLoop, StopSignalsEndItEachTime)
{
    qv_set_default_sig_handlers();
    for (const int signal : {SIGTERM, SIGINT}) {
        timer(0, [&] { raise(signal); });
        EXPECT_EQ(fdloop_loop(loop), 0);
    }
    raise(SIGTERM); // before the loop runs
    EXPECT_EQ(fdloop_loop(loop), 0);
    raise(SIGPIPE); // does not end the process
}

} // namespace
