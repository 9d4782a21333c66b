// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/log/log.h"
#include "host/loop/loop.h"

namespace host {

// The application manager's part is played by whoever reads the socket in NOTIFY_SOCKET: the
// sd_notify protocol, one datagram for each message. Without that variable nothing is sent. The
// functions are those of ap/supervision.h.
class Supervision {
public:
    // The log must outlive the object.
    explicit Supervision(Log& log) : log_(log) {}

    // Signs of life come from the loop, which must outlive the object, in half the time that the
    // starter's WATCHDOG_USEC gives.
    int give_signs(_fdloop_t* loop);

    int set_dead_time(std::uint64_t milliseconds);

    // From the first turn of that loop; at once without one.
    int announce_ready();
    void announce_stop();

    int set_status(std::string_view text);

private:
    static int beat(void* self);
    static int say_ready(void* self);
    void schedule_beat();
    bool notify(std::string_view message);

    Log& log_;
    _fdloop_t* loop_ = nullptr;
    std::uint64_t dead_time_ms_ = 0; // 0: nobody waits for signs of life
    int timer_ = 0;
    std::string status_;   // as it was sent
    bool failing_ = false; // the last message was lost, and that was logged
};

} // namespace host
