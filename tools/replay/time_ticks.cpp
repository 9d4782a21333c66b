// SPDX-License-Identifier: MIT
#include "time_ticks.h"

#include <algorithm>
#include <array>

#include "moment.h"

namespace replay {
namespace {

constexpr std::int64_t most_ticks = 10;
constexpr std::int64_t minute = 60;
constexpr std::int64_t hour = 60 * minute;
constexpr std::int64_t day = 24 * hour;

constexpr std::array steps = {std::int64_t{1},
                              std::int64_t{2},
                              std::int64_t{5},
                              std::int64_t{10},
                              std::int64_t{30},
                              minute,
                              2 * minute,
                              5 * minute,
                              10 * minute,
                              30 * minute,
                              hour,
                              2 * hour,
                              3 * hour,
                              6 * hour,
                              12 * hour,
                              day,
                              2 * day,
                              7 * day,
                              30 * day,
                              90 * day,
                              365 * day};

// "13:05", with seconds where the steps have some; the day in front of its first moment.
std::string label(std::int64_t moment_ms, std::int64_t step)
{
    const std::string text = moment_text(moment_ms);
    const std::size_t clock = text.find(' ') == std::string::npos ? 0 : text.find(' ') + 1;
    if (clock > 0 && (step >= day || text.substr(clock) == "00:00:00"))
        return text.substr(0, clock - 1);
    return text.substr(clock, step < minute ? 8 : 5);
}

} // namespace

std::vector<Tick> time_ticks(std::int64_t begin_ms, std::int64_t duration_ms)
{
    const auto* const found =
        std::find_if(steps.begin(), steps.end() - 1, [duration_ms](std::int64_t step) {
            return duration_ms <= 1000 * step * most_ticks;
        });
    const std::int64_t step_ms = 1000 * *found;
    std::vector<Tick> ticks;
    for (std::int64_t moment = (begin_ms + step_ms - 1) / step_ms * step_ms;
         moment <= begin_ms + duration_ms; moment += step_ms)
        ticks.push_back({moment - begin_ms, label(moment, *found)});
    return ticks;
}

} // namespace replay
