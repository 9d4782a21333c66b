// SPDX-License-Identifier: MIT
#include "temperature/temp_level.h"

#include <algorithm>
#include <array>
#include <vector>

#include "ap/config.h"
#include "ap/log.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "temperature/crossing.h"
#include "temperature/temp_desc.h"

namespace {

using Ranges = std::array<temp_range_t, temp_interval_count>;

constexpr std::size_t index_of(std::int32_t interval)
{
    return static_cast<std::size_t>(interval);
}

// An amplifier reports one of seven states. Any other is ignored: there is no telling whether
// it means hot or cold. Logged once for each value, as long as there is room to remember it.
bool is_known_alarm(const temp_sensor_desc_t& sensor, int alarm_id)
{
    static std::array<int, 16> logged;
    static std::size_t logged_count = 0;
    if (alarm_id >= 0 && alarm_id < static_cast<int>(temp_alarm_count))
        return true;
    const auto end = logged.begin() + static_cast<std::ptrdiff_t>(logged_count);
    if (logged_count < logged.size() && std::find(logged.begin(), end, alarm_id) == end) {
        logged[logged_count++] = alarm_id;
        qv_slog(4, "%s: unknown temperature state %d is ignored\n", sensor.name, alarm_id);
    }
    return false;
}

// Downwards from `start`: the first interval whose minimum is not above the temperature.
std::int32_t search_down(const Ranges& ranges, std::int32_t start, int temp)
{
    std::int32_t next = start;
    while (next > 0 && temp < ranges[index_of(next)].min)
        --next;
    return next;
}

// Upwards from `start`: the first interval whose maximum is not below the temperature, at most
// `highest`.
std::int32_t search_up(const Ranges& ranges, std::int32_t start, std::int32_t highest, int temp)
{
    std::int32_t next = start;
    while (next < highest && temp > ranges[index_of(next)].max)
        ++next;
    return next;
}

// A sensor leaves its interval only beyond the interval's own range. A three-interval sensor
// may go one beyond its last interval, where no range applies: it comes back as soon as the
// reading is within the last interval's maximum.
std::int32_t by_temperature(const temp_sensor_desc_t& sensor, const Ranges& ranges,
                            std::int32_t current, int temp)
{
    constexpr auto top = static_cast<std::int32_t>(temp_interval_count) - 1;
    const std::int32_t last = power_man::last_interval(sensor);
    const std::int32_t highest = std::min(last + 1, top);

    if (current > last)
        return temp > ranges[index_of(last)].max ? current : search_down(ranges, last, temp);
    if (temp > ranges[index_of(current)].max)
        return current < highest ? search_up(ranges, current + 1, highest, temp) : current;
    if (current > 0 && temp < ranges[index_of(current)].min)
        return search_down(ranges, current - 1, temp);
    return current;
}

void run(temp_action_fn action)
{
    if (action != nullptr) // a three-interval sensor has empty slots beyond its last interval
        action();
}

void run_actions(const temp_sensor_desc_t& sensor, std::int32_t current, std::int32_t next)
{
    for (std::int32_t k = current; k < next; ++k)
        run(sensor.act_up[index_of(k)]);
    for (std::int32_t k = current; k > next; --k)
        run(sensor.act_down[index_of(k)]);
}

void trace_start(const temp_sensor_desc_t& sensor, std::int32_t current, std::int32_t mapped)
{
    if (!power_man::tracing())
        return;
    qv_slogd("sensor: %s \n", sensor.name);
    qv_slogd("current interval: %i \n", current);
    qv_slogd("desc->alarm2intv[alarm_id]: %i \n", mapped);
    qv_slogd("desc->range_ac[intv].max: %i \n", sensor.range_ac[index_of(current)].max);
}

std::vector<power_man::EvaluationObserver> observers;

void observed(const power_man::Evaluation& evaluation)
{
    for (const power_man::EvaluationObserver observer : observers)
        observer(evaluation);
}

} // namespace

void temp_action(int id, int alarm_id, int temp)
{
    if (power_man::tracing())
        qv_slogd("temp_action: id=%i , alarm_id=%i, temp=%i \n", id, alarm_id, temp);
    const auto index = static_cast<std::size_t>(id);
    const temp_sensor_desc_t& sensor = temp_desc[index];
    temp_mon_rec_t& record = temp_mon_rec[index];
    if (!is_known_alarm(sensor, alarm_id))
        return;
    const std::int32_t current = record.intv;
    std::int32_t external_supply = 0;
    if (config_read_int(power_man::key::external_supply, &external_supply) != 0) {
        observed({index, alarm_id, temp, std::nullopt, current, current});
        return;
    }

    const std::int32_t mapped = sensor.alarm2intv[static_cast<std::size_t>(alarm_id)];
    trace_start(sensor, current, mapped);
    record.temp = temp;
    if (power_man::tracing())
        qv_slogd(mapped >= 0 ? "entered desc->alarm2intv[alarm_id] \n" : "entered else\n");
    if (mapped >= 0)
        record.alarm_id = alarm_id;
    const std::int32_t next =
        power_man::next_interval(sensor, current, alarm_id, temp, external_supply != 0);
    record.intv = next;
    if (power_man::tracing())
        qv_slogd("Next interval: %i \n", next);
    if (next != current)
        power_man::log_crossing(index, current, next, external_supply != 0);
    run_actions(sensor, current, next);
    observed({index, alarm_id, temp, external_supply, current, next});
}

namespace power_man {

std::int32_t next_interval(const temp_sensor_desc_t& sensor, std::int32_t current, int alarm_id,
                           int temp, bool supplied)
{
    const std::int32_t mapped = sensor.alarm2intv[static_cast<std::size_t>(alarm_id)];
    if (mapped >= 0)
        return mapped;
    return by_temperature(sensor, supplied ? sensor.range_ac : sensor.range_bat, current, temp);
}

void add_evaluation_observer(EvaluationObserver observer)
{
    observers.push_back(observer);
}

} // namespace power_man
