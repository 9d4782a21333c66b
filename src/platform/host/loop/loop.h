// SPDX-License-Identifier: MIT
// The event loop on epoll, with its timers and its deferred work.
//
// One turn: wait for descriptors (no longer than until the next timer), run the callbacks of
// those that are ready, then the timers that are due, then the deferred work. Each of the
// three is bounded, so that none can starve the others.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ap/loop.h"
#include "host/base/clock.h"
#include "host/base/descriptor.h"
#include "host/log/log.h"
#include "host/loop/edge_watcher.h"
#include "host/loop/timers.h"

namespace host {

// Work that waits for the loop without a descriptor: changes of the in-process database.
class Deferred {
public:
    virtual ~Deferred() = default;
    virtual bool pending() const = 0;
    virtual void run() = 0; // a bounded piece; what is left stays pending
};

// Told at the end of every callback, timer's and deferred work's too, and before run() first
// waits: what they have gathered may go out.
class CallbackEnd {
public:
    virtual ~CallbackEnd() = default;
    virtual void callback_ended() = 0;
};

enum class Condition { input, output, exception, hangup }; // hangup: the other side has closed

struct LoopStatistics {
    std::uint64_t wake_ups = 0;
    std::uint64_t callbacks = 0;
    std::uint64_t longest_callback_us = 0;
};

} // namespace host

struct _fdloop_t {
public:
    // Null when the kernel refuses a descriptor; errno says why. Both must outlive the loop.
    static std::unique_ptr<_fdloop_t> create(host::Clock& clock, host::Log& log);

    // As the functions of ap/loop.h, for every condition; remove_timer() gives -ENOENT when the
    // timer is not pending.
    int add(int fd, host::Condition condition, fdloop_fd_callback callback, void* user);
    int remove(int fd, host::Condition condition);

    // Input for a suspended watch stays where it is until resume(); a broken connection still calls
    // it. Nothing happens to a descriptor without a watch.
    void suspend(int fd) { set_suspended(fd, true); }
    void resume(int fd) { set_suspended(fd, false); }

    int add_timer(std::uint64_t milliseconds, fdloop_timer_callback callback, void* user)
    {
        return timers_.add(milliseconds, callback, user);
    }
    int restart_timer(int id, std::uint64_t milliseconds)
    {
        return timers_.restart(id, milliseconds);
    }
    int remove_timer(int id) { return timers_.remove(id); }

    // `work` must outlive the loop.
    void add_deferred(host::Deferred* work) { deferred_.push_back(work); }

    // One at most; must outlive the loop.
    void set_callback_end(host::CallbackEnd* end) { callback_end_ = end; }

    // Runs until stop(). 0, or the negative errno of the wait.
    int run();
    void stop() { stopping_ = true; }

    // With the virtual clock: runs everything that happens within that time, and returns with
    // the clock at its end. Stops early when asked to, with the clock where it is.
    void run_for(std::uint64_t milliseconds);

    // The same for a caller who knows that no descriptor is ready: timers and deferred work only,
    // without a call to the kernel.
    void run_unpolled(std::uint64_t milliseconds);

    const host::LoopStatistics& statistics() const { return statistics_; }

private:
    struct Watch {
        fdloop_fd_callback callback = nullptr; // null: no watch
        void* user = nullptr;
        std::uint32_t generation = 0; // tells a watch from an earlier one of the same number
        host::Condition condition = host::Condition::input;
        bool plain_file = false; // watched by `edges_`, not by epoll
        bool suspended = false;
    };

    _fdloop_t(host::Clock& clock, host::Log& log, host::Descriptor epoll)
        : clock_(clock), log_(log), epoll_(std::move(epoll)), timers_(clock)
    {
    }

    int watch_plain_file(int fd, Watch& watch);
    void set_suspended(int fd, bool suspended);
    std::uint32_t next_generation();
    void forget(int fd);
    void rebuild_epoll();

    int wait_time() const;
    bool turn(int timeout_ms); // false: nothing was ready
    bool work();               // of a turn what needs no descriptor; false: there was none
    template <typename Turn>
    void run_turns(std::uint64_t milliseconds, Turn&& turn);
    void run_descriptor(int fd, std::uint32_t generation);
    void run_edges();
    void run_due_timers();
    bool run_deferred();
    bool has_deferred() const;
    template <typename Callback>
    int timed(Callback&& callback);

    // One: timers and deferred work wait for no more than one callback, and the kernel takes all
    // descriptors in turn.
    static constexpr int events_per_turn = 1;
    static constexpr std::uint32_t edges_generation = 0; // of the plain files' notifier alone

    host::Clock& clock_;
    host::Log& log_;
    host::Descriptor epoll_;
    std::vector<Watch> watches_; // index: descriptor
    host::Timers timers_;
    std::vector<host::Deferred*> deferred_;
    host::CallbackEnd* callback_end_ = nullptr;
    host::EdgeWatcher edges_;
    std::vector<int> changed_files_;
    host::LoopStatistics statistics_;
    std::uint32_t generation_ = 0;
    int running_ = -1; // the descriptor whose callback runs
    int error_ = 0;
    bool stopping_ = false;
    bool stale_event_ = false;
};
