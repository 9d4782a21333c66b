// SPDX-License-Identifier: MIT
#include "host/base/clock.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace host {
namespace {

timespec machine_time(clockid_t id)
{
    timespec time{};
    clock_gettime(id, &time); // cannot fail for the two clocks used here
    return time;
}

} // namespace

std::uint64_t machine_us()
{
    const timespec time = machine_time(CLOCK_MONOTONIC);
    return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000U +
           static_cast<std::uint64_t>(time.tv_nsec) / 1000U;
}

std::uint64_t Clock::now_ms() const
{
    return virtual_ ? virtual_now_ms_ : machine_us() / 1000U;
}

std::uint64_t Clock::after_ms(std::uint64_t milliseconds) const
{
    return milliseconds + (virtual_ ? virtual_now_ms_ : (machine_us() + 999U) / 1000U);
}

std::int64_t Clock::seconds() const
{
    if (virtual_)
        return virtual_date_ + static_cast<std::int64_t>(virtual_now_ms_ / 1000U);
    return machine_time(CLOCK_REALTIME).tv_sec;
}

std::int64_t Clock::wall_ms(std::uint64_t moment_ms) const
{
    std::int64_t now = virtual_epoch * 1000 + static_cast<std::int64_t>(virtual_now_ms_);
    if (!virtual_) {
        const timespec time = machine_time(CLOCK_REALTIME);
        now = std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1'000'000;
    }
    return now - static_cast<std::int64_t>(now_ms()) + static_cast<std::int64_t>(moment_ms);
}

void Clock::wait_ms(std::uint64_t milliseconds)
{
    if (virtual_) {
        virtual_now_ms_ += milliseconds;
        return;
    }
    timespec rest{static_cast<time_t>(milliseconds / 1000U),
                  static_cast<long>(milliseconds % 1000U) * 1'000'000L};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

void Clock::make_virtual(std::int64_t date)
{
    virtual_ = true;
    virtual_date_ = date;
    virtual_now_ms_ = 0;
}

void Clock::advance_to(std::uint64_t milliseconds)
{
    virtual_now_ms_ = std::max(virtual_now_ms_, milliseconds);
}

} // namespace host
