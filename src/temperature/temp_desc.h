// SPDX-License-Identifier: MIT
// The constant description of every temperature sensor, and what is known of each now.
//
// Temperatures are degrees Celsius. Each interval has an inclusive range; ranges of neighbours
// overlap, which is the hysteresis.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "models/model.h"

using temp_action_fn = void (*)();

struct temp_range_t {
    std::int32_t min;
    std::int32_t max;

    bool operator==(const temp_range_t&) const = default;
};

inline constexpr std::size_t temp_interval_count = power_man::most_intervals;
inline constexpr std::size_t temp_alarm_count = power_man::alarm_count;

struct temp_sensor_desc_t {
    const char* name;
    const char* key;        // of the sensor's temperature
    std::int32_t init_temp; // -273: no reading yet
    std::int32_t init_intv;
    std::array<std::int32_t, temp_alarm_count> alarm2intv;    // -1: the temperature decides
    std::array<const char*, temp_interval_count> intv_name;   // null beyond the last interval
    std::array<temp_range_t, temp_interval_count> range_bat;  // without external supply
    std::array<temp_range_t, temp_interval_count> range_ac;   // with it
    std::array<temp_action_fn, temp_interval_count> act_up;   // [k]: from k up to k + 1
    std::array<temp_action_fn, temp_interval_count> act_down; // [k]: from k down to k - 1
};

struct temp_mon_rec_t {
    std::int32_t intv;     // 0 to 4; of a three-interval sensor 0 to 3, 3: beyond its last
    std::int32_t alarm_id; // the last one that decided
    std::int32_t temp;     // the last one evaluated; 0 for a sensor that reports alarms
};

// Index: the sensor's number. The sensors of all models stand behind each other.
extern const std::span<const temp_sensor_desc_t> temp_desc;
extern const std::span<temp_mon_rec_t> temp_mon_rec;

// Index: the alarm id that an amplifier reports.
extern const std::array<const char*, temp_alarm_count> temp_state_text;

namespace power_man {

// The number of a model's sensor: `index` is that in the model's own list.
std::size_t sensor_number(const Model& model, std::size_t index);

// The sensor with that number.
const Sensor& sensor_with(std::size_t number);

// The highest interval that has a name and a range: 4, or 2 for a three-interval sensor.
std::int32_t last_interval(const temp_sensor_desc_t& sensor);

// The name of an interval; of what is beyond the last one, the last one's.
const char* nearest_name(const temp_sensor_desc_t& sensor, std::int32_t interval);

// The same, and "beyond NAME" for what is beyond the last one.
std::string interval_name(const temp_sensor_desc_t& sensor, std::int32_t interval);

} // namespace power_man
