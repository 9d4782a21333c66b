// SPDX-License-Identifier: MIT
#include "insight/moment.h"

#include <array>
#include <ctime>

#include "ap/text.h"
#include "insight/text.h"

namespace power_man::insight {
namespace {

constexpr std::uint32_t second_ms = 1000;

class Counter {
public:
    Counter() : seconds_(static_cast<Moment>(qv_time()) % quarter), last_ms_(qv_time_ms()) {}

    Moment now()
    {
        const std::uint32_t ms = qv_time_ms();
        rest_ms_ += ms - last_ms_; // right across the wrap
        last_ms_ = ms;
        if (rest_ms_ >= second_ms) {
            seconds_ += rest_ms_ / second_ms;
            rest_ms_ %= second_ms;
        }
        return seconds_;
    }

private:
    Moment seconds_;
    std::uint32_t last_ms_;
    std::uint32_t rest_ms_ = 0;
};

tm local(std::int32_t time)
{
    const time_t seconds = time;
    tm parts{};
    localtime_r(&seconds, &parts); // cannot fail for 32 bits
    return parts;
}

std::string text(const char* format, const tm& parts)
{
    std::array<char, 32> buffer;
    return {buffer.data(), std::strftime(buffer.data(), buffer.size(), format, &parts)};
}

} // namespace

Moment now()
{
    static Counter counter;
    return counter.now();
}

// The two clocks do not change their seconds at once: a second's difference is none, or a time
// would be shown now as this and now as the next.
std::int32_t wall_time(Moment moment)
{
    static std::int32_t offset = 0;
    const std::int32_t present = qv_time() - static_cast<std::int32_t>(now());
    if (present < offset - 1 || present > offset + 1)
        offset = present;
    return static_cast<std::int32_t>(moment) + offset;
}

std::string time_text(Moment moment)
{
    const tm parts = local(wall_time(moment));
    const tm today = local(qv_time());
    const bool is_today = parts.tm_year == today.tm_year && parts.tm_yday == today.tm_yday;
    return text(is_today ? "%H:%M:%S" : "%Y-%m-%d %H:%M:%S", parts);
}

std::string short_time_text(Moment moment)
{
    return text("%H:%M", local(wall_time(moment)));
}

std::string full_time_text(Moment moment)
{
    return text("%Y-%m-%dT%H:%M:%S%z", local(wall_time(moment)));
}

std::string duration_text(Moment seconds)
{
    constexpr Moment day = 24 * hour;
    if (seconds < minute)
        return printed("%u s", seconds);
    if (seconds < hour)
        return printed("%u min", seconds / minute);
    const bool hours = seconds < day;
    std::string text = hours ? printed("%u h", seconds / hour) : printed("%u d", seconds / day);
    const Moment rest = hours ? seconds % hour / minute : seconds % day / hour;
    if (rest > 0)
        print_to(text, hours ? " %u min" : " %u h", rest);
    return text;
}

} // namespace power_man::insight
