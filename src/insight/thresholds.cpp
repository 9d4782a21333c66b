// SPDX-License-Identifier: MIT
#include "insight/thresholds.h"

#include <algorithm>

#include "insight/state.h"
#include "insight/text.h"
#include "temperature/temp_level.h"

namespace power_man::insight {
namespace {

// One degree beyond all ranges of a sensor nothing new comes.
struct Scale {
    std::int32_t lowest;
    std::int32_t highest;
};

Scale scale_of(const temp_sensor_desc_t& sensor)
{
    Scale scale{sensor.range_ac[0].min - 1, sensor.range_ac[0].max + 1};
    for (const auto* const ranges : {&sensor.range_bat, &sensor.range_ac}) {
        for (const temp_range_t& range : *ranges)
            scale.highest = std::max(scale.highest, range.max + 1);
    }
    return scale;
}

std::int32_t next(const temp_sensor_desc_t& sensor, std::int32_t from, std::int32_t degrees,
                  bool supplied)
{
    return next_interval(sensor, from, 0, degrees, supplied);
}

} // namespace

std::optional<Move> move_up(const temp_sensor_desc_t& sensor, std::int32_t from, bool supplied)
{
    const Scale scale = scale_of(sensor);
    for (std::int32_t degrees = scale.lowest; degrees <= scale.highest; ++degrees) {
        if (const std::int32_t to = next(sensor, from, degrees, supplied); to > from)
            return Move{degrees - 1, to};
    }
    return std::nullopt;
}

std::optional<Move> move_down(const temp_sensor_desc_t& sensor, std::int32_t from, bool supplied)
{
    const Scale scale = scale_of(sensor);
    for (std::int32_t degrees = scale.highest; degrees >= scale.lowest; --degrees) {
        if (const std::int32_t to = next(sensor, from, degrees, supplied); to < from)
            return Move{degrees + 1, to};
    }
    return std::nullopt;
}

std::int32_t highest_interval(const temp_sensor_desc_t& sensor)
{
    const std::int32_t last = last_interval(sensor);
    const auto beyond = move_up(sensor, last, true);
    return beyond ? beyond->to : last;
}

std::optional<std::int32_t> limit_down_to(const temp_sensor_desc_t& sensor, std::int32_t from,
                                          std::int32_t to, bool supplied)
{
    const Scale scale = scale_of(sensor);
    for (std::int32_t degrees = scale.highest; degrees >= scale.lowest; --degrees) {
        if (next(sensor, from, degrees, supplied) <= to)
            return degrees + 1;
    }
    return std::nullopt;
}

std::string leaves_text(const temp_sensor_desc_t& sensor, std::int32_t from, bool supplied)
{
    std::vector<std::string> limits;
    if (const auto down = move_down(sensor, from, supplied))
        limits.push_back(printed("below %d", down->limit));
    if (const auto up = move_up(sensor, from, supplied))
        limits.push_back(printed("above %d", up->limit));
    return limits.empty() ? "" : "leaves " + joined(limits);
}

std::vector<std::string> states_between(const temp_sensor_desc_t& sensor, std::int32_t lowest,
                                        std::int32_t highest)
{
    std::vector<std::string> states;
    for (std::size_t alarm = 0; alarm < temp_alarm_count; ++alarm) {
        const std::int32_t interval = sensor.alarm2intv[alarm];
        if (interval >= lowest && interval <= highest)
            states.push_back(alarm_text(static_cast<std::int32_t>(alarm)));
    }
    return states;
}

} // namespace power_man::insight
