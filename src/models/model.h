// SPDX-License-Identifier: MIT
// What makes a terminal model: data only, without a word about who uses it.
//
// Each model is one constant of type Model in a file of its own. Whatever is to be stated has no
// default: a constant that leaves it out does not compile, and the compiler names the member.
// "None" is stated, too: nullptr, an empty list {}, or the constant that the member names.
//
// Temperatures are degrees Celsius. Keys are those of the configuration database.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace power_man {

// A member's name, for the compiler's message.
template <std::size_t Size>
struct MemberName {
    consteval MemberName(const char (&literal)[Size])
    {
        for (std::size_t i = 0; i < Size; ++i)
            text[i] = literal[i];
    }
    char text[Size]{};
};

// In place of a default: has no value that a constant could take.
template <MemberName Name>
struct NotStated {
    template <typename T>
    operator T() const;
};
template <MemberName Name>
inline constexpr NotStated<Name> to_be_stated;

inline constexpr std::size_t most_intervals = 5;
inline constexpr std::size_t alarm_count = 7;

struct TemperatureRange {
    std::int32_t min = to_be_stated<"min">; // inclusive, as is max
    std::int32_t max = to_be_stated<"max">;
};

// The ranges of neighbouring intervals overlap: that is the hysteresis.
struct Ranges {
    TemperatureRange alone;    // without external supply
    TemperatureRange supplied; // with it
};

// What is done when a sensor crosses a boundary; src/temperature knows how.
enum class Action : std::uint8_t {
    no_act,
    reboot_term,
    power_off,
    data_off, // from here on in pairs, of which each undoes the other
    data_on,
    bgr_off,
    bgr_on,
    usb_power_off,
    usb_power_on,
    poe_off,
    poe_on,
    bgr_usb_off,
    bgr_usb_on,
    bgr_usb_poe_off,
    bgr_usb_poe_on,
    bgr_poe_off,
    bgr_poe_on,
    low_temp_off,
    low_temp_on,
    high_temp_warning_on,
    high_temp_warning_off,
    fan_on,
    fan_off,
    count_ // no action: how many there are
};

// What undoes an action when the sensor comes back.
constexpr Action counterpart(Action action)
{
    constexpr auto first_pair = static_cast<unsigned int>(Action::data_off);
    const auto number = static_cast<unsigned int>(action);
    return number < first_pair ? Action::no_act
                               : static_cast<Action>(first_pair + ((number - first_pair) ^ 1U));
}

struct Interval {
    const char* name = to_be_stated<"name">;
    Ranges ranges;                      // not looked at where alarms decide
    Action up = to_be_stated<"up">;     // on the way up out of the interval
    Action down = to_be_stated<"down">; // on the way down out of it
};

// For each alarm id that an amplifier reports the interval that it means, or -1: the temperature
// decides.
using AlarmIntervals = std::array<std::int32_t, alarm_count>;

struct Sensor {
    const char* name = to_be_stated<"name">;
    const char* key = to_be_stated<"key">; // of its temperature
    AlarmIntervals alarm_intervals = to_be_stated<"alarm_intervals">;
    std::span<const Interval> intervals = to_be_stated<"intervals">; // lowest first
};

// What a followed key means to its sensor.
enum class Reading : std::uint8_t {
    temperature,
    alarm, // an amplifier's state
    supply // selects the ranges: the sensor's temperature is evaluated again
};

struct Source {
    const char* key = to_be_stated<"key">;
    Reading reading = to_be_stated<"reading">;
    std::size_t sensor = to_be_stated<"sensor">; // index in the model's list
    const char* title = to_be_stated<"title">;   // of its trace line
};

// Every 5 s a terminal with an amplifier copies its readings from the platform's keys to status
// keys, and more of them as its model says, in that order.
struct Copy {
    const char* from = to_be_stated<"from">;
    const char* to = to_be_stated<"to">;
};

// A line of temp_status that is shown while its key is not 0.
struct Limitation {
    const char* key = to_be_stated<"key">;
    const char* line = to_be_stated<"line">;
};

inline constexpr int no_sensor = -1;

// What temp_status shows, in this order.
struct StatusReport {
    std::size_t sensor = to_be_stated<"sensor">;          // index in the model's list
    bool battery_limits = to_be_stated<"battery_limits">; // the ranges without supply as well
    int amplifier = to_be_stated<"amplifier">;            // index of its sensor, or no_sensor
    std::span<const Limitation> limitations = to_be_stated<"limitations">;
};

// For the direction file of a pin; null: "high" or "low" as the extended port is to be.
inline constexpr const char* as_extended = nullptr;

struct UsbPin {
    const char* pin = to_be_stated<"pin">; // kernel GPIO number
    const char* state = to_be_stated<"state">;
};

inline constexpr int no_line = -1;

struct UsbPower {
    const char* chip = to_be_stated<"chip">; // directory that must be there first; null: none
    std::span<const UsbPin> on = to_be_stated<"on">; // in switching order
    std::span<const UsbPin> off = to_be_stated<"off">;
    int over_current_line = to_be_stated<"over_current_line">; // GPIO number, or no_line
};

enum class PoeSwitching : std::uint8_t {
    none,
    fpga,   // one output for all ports
    psu_mcu // signals, one for each port and one for the supply
};

// What the self-tests look at. The over-current line is tested where there is one.
struct SelfTestDevices {
    const char* ethernet_switch = to_be_stated<"ethernet_switch">; // path; null: none
    const char* usb_chip = to_be_stated<"usb_chip">; // directory that must be there; null: none
    const char* usb_pin = to_be_stated<"usb_pin">;   // that must be exported; null: no test

    // Key that must be 0 for the temperature to count; null: none. It decides when the test runs.
    const char* temperature_status = to_be_stated<"temperature_status">;
    const char* temperature = to_be_stated<"temperature">; // key that must be readable
};

struct Model {
    const char* id = to_be_stated<"id">; // the platform id
    std::span<const Sensor> sensors = to_be_stated<"sensors">;
    std::span<const Source> sources = to_be_stated<"sources">; // in the order they are followed
    const char* subscription = to_be_stated<"subscription">;   // key to be set first; null: none
    std::span<const Copy> copies = to_be_stated<"copies">;     // made with the amplifier's
    StatusReport report;
    UsbPower usb;
    PoeSwitching poe = to_be_stated<"poe">;
    SelfTestDevices self_test;

    // Milliseconds without a sign of life until supervision restarts the daemon; 0: as the
    // application manager has it.
    unsigned int dead_time_ms = to_be_stated<"dead_time_ms">;
};

// True for the sensor of an amplifier, which reports a state.
constexpr bool decides_by_alarm(const Sensor& sensor)
{
    return sensor.alarm_intervals[0] >= 0;
}

constexpr bool has_amplifier(const Model& model)
{
    return std::any_of(model.sensors.begin(), model.sensors.end(), decides_by_alarm);
}

} // namespace power_man
