// SPDX-License-Identifier: MIT
#include "temperature/temp_desc.h"

#include <algorithm>
#include <numeric>

#include "models/list.h"
#include "temperature/action_table.h"

namespace {

using power_man::Interval;
using power_man::Model;
using power_man::model_list;
using power_man::Sensor;
using power_man::TemperatureRange;

constexpr std::int32_t no_reading = -273;

constexpr std::size_t count_sensors()
{
    std::size_t count = 0;
    for (const Model* const model : model_list)
        count += model->sensors.size();
    return count;
}

constexpr temp_range_t range_of(const TemperatureRange& range)
{
    return {range.min, range.max};
}

// Beyond the sensor's last interval there are no names, ranges and actions.
constexpr temp_sensor_desc_t describe(const Sensor& sensor)
{
    temp_sensor_desc_t description{};
    description.name = sensor.name;
    description.key = sensor.key;
    description.init_temp = no_reading;
    description.init_intv = power_man::initial_interval;
    description.alarm2intv = sensor.alarm_intervals;
    for (std::size_t i = 0; i < sensor.intervals.size(); ++i) {
        const Interval& interval = sensor.intervals[i];
        description.intv_name[i] = interval.name;
        description.range_bat[i] = range_of(interval.ranges.alone);
        description.range_ac[i] = range_of(interval.ranges.supplied);
        description.act_up[i] = power_man::action_row(interval.up).run;
        description.act_down[i] = power_man::action_row(interval.down).run;
    }
    return description;
}

constexpr auto number_all()
{
    std::array<const Sensor*, count_sensors()> all{};
    std::size_t number = 0;
    for (const Model* const model : model_list) {
        for (const Sensor& sensor : model->sensors)
            all[number++] = &sensor;
    }
    return all;
}

constexpr std::array sensors = number_all();

constexpr auto describe_all()
{
    std::array<temp_sensor_desc_t, sensors.size()> all{};
    std::transform(sensors.begin(), sensors.end(), all.begin(),
                   [](const Sensor* sensor) { return describe(*sensor); });
    return all;
}

constexpr auto descriptions = describe_all();
constinit std::array<temp_mon_rec_t, descriptions.size()> records{};

} // namespace

constinit const std::span<const temp_sensor_desc_t> temp_desc = descriptions;
constinit const std::span<temp_mon_rec_t> temp_mon_rec = records;

const std::array<const char*, temp_alarm_count> temp_state_text = {
    "Normal", "Too High", "High", "Critical High", "Low", "Too Low", "Critical Low"};

namespace power_man {

std::size_t sensor_number(const Model& model, std::size_t index)
{
    const auto* const end = std::find(model_list.begin(), model_list.end(), &model);
    return std::accumulate(
        model_list.begin(), end, index,
        [](std::size_t number, const Model* before) { return number + before->sensors.size(); });
}

const Sensor& sensor_with(std::size_t number)
{
    return *sensors[number];
}

std::int32_t last_interval(const temp_sensor_desc_t& sensor)
{
    const auto& names = sensor.intv_name;
    const auto* const end = std::find(names.begin(), names.end(), nullptr);
    return static_cast<std::int32_t>(end - names.begin()) - 1;
}

const char* nearest_name(const temp_sensor_desc_t& sensor, std::int32_t interval)
{
    return sensor.intv_name[static_cast<std::size_t>(std::min(interval, last_interval(sensor)))];
}

std::string interval_name(const temp_sensor_desc_t& sensor, std::int32_t interval)
{
    const char* const name = nearest_name(sensor, interval);
    return interval > last_interval(sensor) ? std::string("beyond ") + name : name;
}

} // namespace power_man
