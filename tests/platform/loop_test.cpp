// SPDX-License-Identifier: MIT
#include "support/platform.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <deque>
#include <sys/eventfd.h>
#include <sys/time.h>

#include "ap/text.h"

namespace {

using host::Descriptor;
using Handler = std::function<int(int)>;

class RealLoop : public testing::Test {
protected:
    static int call(int fd, void* user) { return (*static_cast<Handler*>(user))(fd); }
    static int fire(void* user) { return call(-1, user); }
    void* keep(const Handler& handler) { return &handlers_.emplace_back(handler); }
    int watch(int fd, const Handler& h) { return fdloop_fd_register(loop, fd, call, keep(h)); }
    int watch_except(int fd, const Handler& handler)
    {
        return fdloop_fd_register_except(loop, fd, call, keep(handler));
    }
    int unwatch(int fd) { return fdloop_fd_unregister_except(loop, fd); }
    int timer(unsigned int milliseconds, const std::function<void()>& f)
    {
        return fdloop_timer_add(loop, milliseconds, fire, keep([f](int) { return f(), 0; }));
    }
    int timer(unsigned int milliseconds, const char* word)
    {
        return timer(milliseconds, [this, word] { say(word); });
    }
    void say(const std::string& word) { story += word + " "; }
    static int ready() { return eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK); } // until it is read
    static void make_ready(int fd) { EXPECT_EQ(eventfd_write(fd, 1), 0); }
    Handler reads(const std::string& word, int result = 0)
    {
        return [this, word, result](int fd) {
            std::uint64_t count = 0;
            EXPECT_EQ(eventfd_read(fd, &count), 0) << word;
            return say(word), result;
        };
    }
    // Closes its descriptor and gets the number again from `open`, for `watch_next`.
    Handler replaced(const std::function<int()>& open, const Handler& watch_next)
    {
        return [this, open, watch_next](int old) {
            say("old");
            close(old);
            EXPECT_EQ(open(), old);
            EXPECT_EQ(watch_next(old), 0);
            return 1;
        };
    }

    _fdloop_t* const loop = fdloop_init();
    std::string story;

private:
    std::deque<Handler> handlers_;
};

class Loop : public RealLoop {
protected:
    Loop() { host::instance().clock.make_virtual(); }

    std::string run(std::uint64_t milliseconds = 0)
    {
        loop->run_for(milliseconds);
        return std::exchange(story, {});
    }
};

// Two ends of a connection whose urgent data is an exceptional condition.
struct Urgent {
    Urgent() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0); }
    ~Urgent() { close(ends[0]), close(ends[1]); }
    void send_byte(int flags = MSG_OOB) const { EXPECT_EQ(send(ends[1], "!", 1, flags), 1); }
    void take() const
    {
        char byte = 0;
        EXPECT_EQ(recv(ends[0], &byte, 1, MSG_OOB), 1);
    }
    int ends[2];
};

TEST_F(Loop, AnEndedWatchLeavesTheNumberToItsNextOwner)
{
    const int fd = ready();
    watch(fd, replaced(ready, [&](int now) { return watch(now, reads("new")); }));
    EXPECT_EQ(run(), "old new ");
    make_ready(fd);
    EXPECT_EQ(run(), "new ") << "the new watch went with the old one";
    close(fd);
    EXPECT_EQ(ready(), fd);
    watch(fd, replaced(ready, [](int) { return 0; })); // nobody watches it
    EXPECT_EQ(run(), "old ");
    EXPECT_EQ(watch(fd, reads("free", 1)), 0);
    EXPECT_EQ(run(), "free ");
    make_ready(fd);
    EXPECT_EQ(run(), "") << "a non-zero result did not end the watch";
}

TEST_F(Loop, ADuplicateOfAClosedDescriptorDoesNotKeepTheLoopAwake)
{
    const int fd = ready();
    const int first = dup(fd);
    const Descriptor last(dup(fd));
    const Descriptor other(ready());
    watch(fd, replaced(ready, [&](int now) { return watch(now, reads("new")); }));
    watch(first, [&](int old) { return say("duplicate"), close(old), 1; });
    watch(other.get(), reads("other"));
    EXPECT_EQ(run(), "old duplicate other new "); // and returns: the last duplicate is ready
    make_ready(fd);
    make_ready(other.get());
    EXPECT_EQ(run(), "new other ") << "lost with the duplicates";
}

TEST_F(Loop, AHandlerOfUrgentDataEndsWatches)
{
    const Urgent a;
    const Urgent b;
    const auto removes = [&](const Urgent& own, const Urgent& removed, int result) {
        const Handler handler = [&, result](int) {
            own.take();
            EXPECT_EQ(unwatch(removed.ends[0]), 0);
            EXPECT_EQ(unwatch(removed.ends[0]), -ENOENT);
            return say("one"), result;
        };
        EXPECT_EQ(watch_except(own.ends[0], handler), 0);
        own.send_byte(0);
        EXPECT_EQ(run(), "") << "ordinary input is none";
    };
    removes(a, b, 0);
    removes(b, a, 0);
    a.send_byte();
    b.send_byte(); // both in one batch: the first to run removes the second
    EXPECT_EQ(run(), "one ");
    for (const int result : {0, 1}) {
        const Urgent own;
        removes(own, own, result);
        own.send_byte();
        EXPECT_EQ(run(), "one ");
    }
}

// Lines of an emulated board: both have an edge, the first handler ends and renews the other watch.
TEST_F(Loop, ANewWatchOfTheSameFileSeesNoOldEdge)
{
    const OwnDirectory directory;
    int fds[2];
    const Handler renew = [&](int fd) {
        const int other = fds[fd == fds[0] ? 1 : 0];
        unwatch(other);
        fdloop_fd_register_except(loop, other, call, keep([&](int) { return say("stale"), 0; }));
        return say("edge"), 0;
    };
    for (int& fd : fds) {
        const std::string line = directory.path() / std::to_string(&fd - fds);
        std::filesystem::create_directories(line);
        std::ofstream(line + "/edge") << "both\n";
        std::ofstream(line + "/value") << "0\n";
        fd = open((line + "/value").c_str(), O_RDONLY | O_CLOEXEC);
        watch_except(fd, renew);
        std::ofstream(line + "/value") << "1\n";
    }
    EXPECT_EQ(run(), "edge ");
}

TEST_F(Loop, RefusesWhatItCannotWatch)
{
    const int file = open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
    const int watched = ready();
    const int closed = ready();
    close(closed);
    EXPECT_EQ(watch(watched, reads("")), 0);
    for (const auto& [fd, error] :
         {std::pair{-1, -EBADF}, std::pair{closed, -EBADF}, std::pair{INT_MAX, -EBADF},
          std::pair{watched, -EEXIST}, std::pair{file, -EPERM}}) {
        EXPECT_EQ(watch(fd, reads("")), error) << fd;
        EXPECT_EQ(unwatch(fd), -ENOENT) << fd;
    }
}

TEST_F(Loop, TimersFireInOrderOfDueTimeThenOfAdding)
{
    timer(30, "30");
    const int lengthened = timer(0, "15-lengthened"); // the first to fire, until then
    const int restarted = timer(10, "10-restarted");
    timer(10, "10-second");
    timer(0, "0");
    const int shortened = timer(UINT_MAX, "20-shortened");
    timer(20, "20");
    EXPECT_EQ(fdloop_timer_set_interval(restarted, 10), 0);
    EXPECT_EQ(fdloop_timer_set_interval(shortened, 20), 0);
    EXPECT_EQ(fdloop_timer_set_interval(lengthened, 15), 0);
    EXPECT_EQ(run(9), "0 ");
    EXPECT_EQ(run(20), "10-second 10-restarted 15-lengthened 20 20-shortened ");
    EXPECT_EQ(run(1), "30 ");
    for (const int id : {restarted, 0, -1, INT_MAX})
        EXPECT_EQ(fdloop_timer_set_interval(id, 1), -ENOENT) << id;

    timer(5, [&] {
        say("first");
        watch(ready(), reads("input"));
        timer(0, "later-turn");
    });
    timer(5, "same-time");
    EXPECT_EQ(run(5), "first same-time input later-turn ");
}

TEST_F(RealLoop, WaitsForTheMachinesClock)
{
    const std::uint32_t start = qv_time_ms();
    const std::uint64_t wake_ups = loop->statistics().wake_ups;
    timer(6, [&] { loop->stop(); });
    // Signals on the way neither end the loop nor make the timer early.
    signal(SIGALRM, [](int) {});
    const itimerval alarm{{0, 0}, {0, 2000}};
    setitimer(ITIMER_REAL, &alarm, nullptr);
    EXPECT_EQ(fdloop_loop(loop), 0);
    EXPECT_GE(qv_time_ms() - start, 6U);
    EXPECT_LE(loop->statistics().wake_ups - wake_ups, 4U) << "it did not sleep";

    qv_set_default_sig_handlers();
    timer(0, [&] { raise(SIGINT); });
    EXPECT_EQ(fdloop_loop(loop), 0);
    raise(SIGTERM); // before the loop runs
    EXPECT_EQ(fdloop_loop(loop), 0);
    raise(SIGPIPE); // does not end the process
}

// Ready descriptors, a change callback that writes its own key and a timer that adds itself come
// again and again, but none so often that another must be starved.
TEST_F(RealLoop, NoSourceStarvesAnother)
{
    std::array<int, 72> calls{}; // of 70 descriptors, the change callback and the timer
    const auto counted = [&](std::size_t i) {
        if (++calls[i] == 100'000)
            loop->stop();
        return 0;
    };
    for (std::size_t i = 0; i < 70; ++i)
        watch(ready(), [&, i](int) { return counted(i); });
    config_init_cbus(cbus_conn_create(loop, own_bus_name().c_str()), 0);
    config_change_register(
        "own", [](unsigned int, const config_data_t*, void* user) { fire(user); },
        keep([&](int) { return counted(70), config_write_int("own", 1); }));
    config_write_int("own", 1);
    std::function<void()> spin = [&] {
        counted(71);
        if (*std::min_element(calls.begin(), calls.end()) >= 3 && !story.empty())
            loop->stop();
        timer(0, spin);
    };
    spin();
    timer(2, "timer");
    EXPECT_EQ(fdloop_loop(loop), 0);
    EXPECT_EQ(story, "timer ");
    EXPECT_GE(*std::min_element(calls.begin(), calls.end()), 3);
    EXPECT_LT(*std::max_element(calls.begin(), calls.end()), 100'000);
}

} // namespace
