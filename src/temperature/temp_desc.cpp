// SPDX-License-Identifier: MIT
#include "temperature/temp_desc.h"

#include "base/config_keys.h"
#include "temperature/temp_actions.h"

namespace {

namespace key = power_man::key;

using Ranges = std::array<temp_range_t, temp_interval_count>;
using Names = std::array<const char*, temp_interval_count>;
using Alarms = std::array<std::int32_t, temp_alarm_count>;
using Actions = std::array<temp_action_fn, temp_interval_count>;

constexpr std::int32_t no_reading = -273;
constexpr std::int32_t normal_operation = 1;

constexpr Names five_intervals = {"Low Temperature", "Normal Operation", "Reduced Performance",
                                  "Closing connections", "Power Off"};
constexpr Names three_intervals = {"Low Temperature", "Normal Operation", "Power Off", nullptr,
                                   nullptr};

constexpr Alarms by_temperature = {-1, -1, -1, -1, -1, -1, -1};
constexpr Alarms by_amplifier_state = {1, 2, 2, 3, 0, 0, 0};

constexpr Ranges battery_alone = {{{-273, -20}, {-25, 52}, {50, 55}, {53, 58}, {50, 100}}};
constexpr Ranges battery_supplied = {{{-273, -20}, {-25, 65}, {60, 69}, {65, 72}, {70, 100}}};
constexpr Ranges radio_module = {{{-273, -20}, {-25, 70}, {65, 75}, {70, 80}, {60, 100}}};
constexpr Ranges radio_module_bdu = {{{-273, -20}, {-25, 72}, {67, 75}, {70, 80}, {60, 100}}};
constexpr Ranges radio_module_v640 = {{{-273, -20}, {-25, 83}, {60, 100}, {0, 0}, {0, 0}}};
constexpr Ranges radio_module_v150 = {{{-273, -38}, {-40, 83}, {60, 100}, {0, 0}, {0, 0}}};
constexpr Ranges radio_module_v360 = {{{-273, -20}, {-25, 70}, {70, 75}, {0, 0}, {0, 0}}};
constexpr Ranges no_ranges = {}; // an amplifier is placed by its state alone

constexpr Actions amplifier_up = {no_act, bgr_off, data_off, reboot_term, no_act};
constexpr Actions amplifier_down = {no_act, no_act, bgr_on, data_on, no_act};

} // namespace

const std::array<temp_sensor_desc_t, temp_sensor_count> temp_desc = {{
    {"Battery",
     key::battery_temperature,
     no_reading,
     normal_operation,
     by_temperature,
     five_intervals,
     battery_alone,
     battery_supplied,
     {no_act, bgr_usb_off, data_off, reboot_term, no_act},
     {no_act, no_act, bgr_usb_on, data_on, no_act}},

    {"Radio Module",
     key::mainboard_temperature,
     no_reading,
     normal_operation,
     by_temperature,
     five_intervals,
     radio_module,
     radio_module,
     {no_act, bgr_usb_poe_off, data_off, reboot_term, no_act},
     {no_act, no_act, bgr_usb_poe_on, data_on, no_act}},

    {"HPA", key::hpa_temperature, no_reading, normal_operation, by_amplifier_state, five_intervals,
     no_ranges, no_ranges, amplifier_up, amplifier_down},

    {"Radio Module - V640",
     key::mainboard_temperature,
     no_reading,
     normal_operation,
     by_temperature,
     three_intervals,
     radio_module_v640,
     radio_module_v640,
     {no_act, reboot_term, no_act, nullptr, nullptr},
     {no_act, no_act, no_act, nullptr, nullptr}},

    {"Radio Module - V150",
     key::mainboard_temperature,
     no_reading,
     normal_operation,
     by_temperature,
     three_intervals,
     radio_module_v150,
     radio_module_v150,
     {low_temp_off, reboot_term, no_act, nullptr, nullptr},
     {no_act, low_temp_on, no_act, nullptr, nullptr}},

    {"HPA - Morvin ADU", key::hpa_temperature, no_reading, normal_operation, by_amplifier_state,
     five_intervals, no_ranges, no_ranges, amplifier_up, amplifier_down},

    {"Radio Module - Morvin BDU",
     key::mainboard_temperature,
     no_reading,
     normal_operation,
     by_temperature,
     five_intervals,
     radio_module_bdu,
     radio_module_bdu,
     {no_act, bgr_poe_off, data_off, reboot_term, no_act},
     {no_act, no_act, bgr_poe_on, data_on, no_act}},

    {"Radio Module - V360",
     key::mainboard_temperature,
     no_reading,
     normal_operation,
     by_temperature,
     three_intervals,
     radio_module_v360,
     radio_module_v360,
     {no_act, high_temp_warning_on, power_off, nullptr, nullptr},
     {no_act, no_act, high_temp_warning_off, nullptr, nullptr}},
}};

std::array<temp_mon_rec_t, temp_sensor_count> temp_mon_rec{};

const std::array<const char*, temp_alarm_count> temp_state_text = {
    "Normal", "Too High", "High", "Critical High", "Low", "Too Low", "Critical Low"};

namespace power_man {

std::int32_t last_interval(const temp_sensor_desc_t& sensor)
{
    auto last = static_cast<std::int32_t>(temp_interval_count) - 1;
    while (last > 0 && sensor.intv_name[static_cast<std::size_t>(last)] == nullptr)
        --last;
    return last;
}

} // namespace power_man
