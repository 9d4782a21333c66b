// SPDX-License-Identifier: MIT
#include "temperature/crossing.h"

#include <algorithm>
#include <array>
#include <string>

#include "ap/log.h"
#include "temperature/action_table.h"
#include "temperature/temp_desc.h"

namespace power_man {
namespace {

using Limits = std::array<temp_range_t, temp_interval_count>;

constexpr std::size_t index_of(std::int32_t interval)
{
    return static_cast<std::size_t>(interval);
}

// The reading against the outermost of the boundaries on its way: it is beyond all of them.
std::string boundary(const temp_sensor_desc_t& sensor, const Limits& limits, std::int32_t from,
                     std::int32_t to)
{
    const std::int32_t last = last_interval(sensor);
    if (from < to) {
        std::int32_t highest = limits[index_of(from)].max;
        for (std::int32_t k = from; k < to; ++k)
            highest = std::max(highest, limits[index_of(k)].max);
        return "above " + std::to_string(highest);
    }
    const std::int32_t start = std::min(from, last);
    if (start == to) // back from beyond the last interval
        return "not above " + std::to_string(limits[index_of(last)].max);
    std::int32_t lowest = limits[index_of(start)].min;
    for (std::int32_t k = start; k > to; --k)
        lowest = std::min(lowest, limits[index_of(k)].min);
    return "below " + std::to_string(lowest);
}

std::string cause(const temp_sensor_desc_t& sensor, const temp_mon_rec_t& now, std::int32_t from,
                  std::int32_t to, bool supplied)
{
    if (sensor.alarm2intv[0] >= 0)
        return "state " + std::to_string(now.alarm_id) + " (" +
               temp_state_text[index_of(now.alarm_id)] + ")";
    std::string text = std::to_string(now.temp) + " C is " +
                       boundary(sensor, supplied ? sensor.range_ac : sensor.range_bat, from, to);
    if (sensor.range_ac != sensor.range_bat)
        text += supplied ? " (with external supply)" : " (without external supply)";
    return text;
}

void append(std::string& list, const char* separator, const std::string& item)
{
    list.append(list.empty() ? "" : separator).append(item);
}

// What a way through the intervals does. Who holds what is followed on the way as take() and
// let_go() will do it.
struct Outcome {
    std::string off;
    std::string back;
    std::string also;
    std::array<std::int32_t, consumer_count> holds = holders();

    void add(Action action)
    {
        const ActionRow& row = action_row(action);
        for (const Effect part : row.parts) {
            const EffectRow& effect = effects[static_cast<std::size_t>(part)];
            if (!is_hold(part))
                append(also, "; ",
                       std::string(effect.name) + " " + (row.begins ? effect.begun : effect.ended));
            else if (row.begins && ++holds[static_cast<std::size_t>(part)] <= 1)
                append(off, ", ", effect.name);
            else if (!row.begins && --holds[static_cast<std::size_t>(part)] <= 0)
                append(back, ", ", effect.name);
        }
    }
};

Outcome outcome(const Sensor& sensor, std::int32_t from, std::int32_t to)
{
    const auto beyond = static_cast<std::int32_t>(sensor.intervals.size());
    Outcome result;
    for (std::int32_t k = from; k < std::min(to, beyond); ++k)
        result.add(sensor.intervals[index_of(k)].up);
    for (std::int32_t k = from; k > to; --k) {
        if (k < beyond)
            result.add(sensor.intervals[index_of(k)].down);
    }
    return result;
}

} // namespace

void log_crossing(std::size_t number, std::int32_t from, std::int32_t to, bool supplied)
{
    const temp_sensor_desc_t& sensor = temp_desc[number];
    const Outcome result = outcome(sensor_with(number), from, to);
    std::string line = std::string(sensor.name) + ": " +
                       cause(sensor, temp_mon_rec[number], from, to, supplied) + ": " +
                       interval_name(sensor, from) + " -> " + interval_name(sensor, to);
    if (!result.off.empty())
        line += "; off: " + result.off;
    if (!result.back.empty())
        line += "; back: " + result.back;
    if (!result.also.empty())
        line += "; " + result.also;
    qv_slog(5, "%s\n", line.c_str());
}

} // namespace power_man
