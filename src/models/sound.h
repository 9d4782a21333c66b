// SPDX-License-Identifier: MIT
// What must hold for a terminal model, checked by the compiler: its message shows the line that
// refuses.
#pragma once

#include <algorithm>
#include <string_view>

#include "base/terminal.h"
#include "models/model.h"

namespace power_man {

// Every sensor begins here, without a reading.
inline constexpr std::size_t initial_interval = 1;

// Not constexpr: a constant expression that comes here is none.
void refuse(const char* why);

constexpr bool is_text(const char* text)
{
    return text != nullptr && *text != '\0';
}

// What undoes an action when the sensor comes back.
constexpr Action counterpart(Action action)
{
    using enum Action;
    constexpr std::pair<Action, Action> pairs[] = {
        {data_off, data_on},
        {bgr_off, bgr_on},
        {usb_power_off, usb_power_on},
        {poe_off, poe_on},
        {bgr_usb_off, bgr_usb_on},
        {bgr_usb_poe_off, bgr_usb_poe_on},
        {bgr_poe_off, bgr_poe_on},
        {low_temp_on, low_temp_off},
        {fan_on, fan_off},
        {high_temp_warning_on, high_temp_warning_off},
    };
    for (const auto& [one, other] : pairs) {
        if (action == one)
            return other;
        if (action == other)
            return one;
    }
    return no_act;
}

constexpr void check_ranges(const Interval& lower, const Interval& upper)
{
    using Side = TemperatureRange Ranges::*;
    for (const Side side : {&Ranges::alone, &Ranges::supplied}) {
        const TemperatureRange below = lower.ranges.*side;
        const TemperatureRange above = upper.ranges.*side;
        if (below.min > below.max || above.min > above.max)
            refuse("a range ends below its beginning");
        if (above.min > below.max + 1)
            refuse("there is a gap between two ranges");
        if (above.max <= below.max)
            refuse("an interval is never left upwards for the next");
    }
}

constexpr void check(const Sensor& sensor)
{
    if (!is_text(sensor.name) || !is_text(sensor.key))
        refuse("a sensor needs a name and a key");
    if (sensor.intervals.size() <= initial_interval || sensor.intervals.size() > most_intervals)
        refuse("a sensor has two to five intervals");
    for (const Interval& interval : sensor.intervals) {
        if (!is_text(interval.name))
            refuse("an interval needs a name");
    }
    for (const std::int32_t interval : sensor.alarm_intervals) {
        if (decides_by_alarm(sensor) != (interval >= 0) || interval < -1 ||
            interval >= static_cast<std::int32_t>(sensor.intervals.size()))
            refuse("either every alarm means an interval of the sensor, or each is -1");
    }
    if (sensor.intervals.front().down != Action::no_act)
        refuse("the lowest interval is never left downwards");
    for (std::size_t i = 0; i + 1 < sensor.intervals.size(); ++i) {
        if (sensor.intervals[i + 1].down != counterpart(sensor.intervals[i].up))
            refuse("what is done on the way up is undone on the way down");
        if (!decides_by_alarm(sensor))
            check_ranges(sensor.intervals[i], sensor.intervals[i + 1]);
    }
}

constexpr void check_sources(const Model& model)
{
    for (const Source& source : model.sources) {
        if (!is_text(source.key) || !is_text(source.title))
            refuse("a source needs a key and a title");
        if (source.sensor >= model.sensors.size())
            refuse("a source names a sensor that the model has not");
        if ((source.reading == Reading::alarm) != decides_by_alarm(model.sensors[source.sensor]))
            refuse("a sensor is fed with what it is not decided by");
        for (const Source& other : model.sources) {
            if (&other != &source && std::string_view(other.key) == source.key)
                refuse("a key feeds one sensor");
        }
    }
    for (std::size_t i = 0; i < model.sensors.size(); ++i) {
        const auto feeds = [i](const Source& source) {
            return source.sensor == i && source.reading != Reading::supply;
        };
        if (std::none_of(model.sources.begin(), model.sources.end(), feeds))
            refuse("no source feeds a sensor");
    }
    if (!model.copies.empty() && !has_amplifier(model))
        refuse("copies are made where there is an amplifier");
    for (const Copy& copy : model.copies) {
        if (!is_text(copy.from) || !is_text(copy.to))
            refuse("a copy needs two keys");
    }
}

constexpr void check(const Model& model, const StatusReport& report)
{
    if (report.sensor >= model.sensors.size())
        refuse("temp_status shows a sensor that the model has not");
    if (report.amplifier != no_sensor &&
        (report.amplifier < 0 ||
         static_cast<std::size_t>(report.amplifier) >= model.sensors.size() ||
         !decides_by_alarm(model.sensors[static_cast<std::size_t>(report.amplifier)])))
        refuse("temp_status shows as amplifier what is none");
    for (const Limitation& limitation : report.limitations) {
        if (!is_text(limitation.key) || !is_text(limitation.line))
            refuse("a limitation needs a key and a line");
    }
}

constexpr bool is_pin_number(const char* text)
{
    return is_text(text) &&
           std::string_view(text).find_first_not_of("0123456789") == std::string_view::npos;
}

constexpr void check(const UsbPower& usb)
{
    const auto switches = [](std::span<const UsbPin> pins, const char* number) {
        return std::any_of(pins.begin(), pins.end(), [number](const UsbPin& pin) {
            return std::string_view(pin.pin) == number;
        });
    };
    for (const UsbPin& pin : usb.off) {
        if (!is_pin_number(pin.pin) || !is_text(pin.state))
            refuse("a pin has a number, and a state in which the port is off");
        if (!switches(usb.on, pin.pin))
            refuse("a USB pin is switched off and never on");
    }
    for (const UsbPin& pin : usb.on) {
        if (!is_pin_number(pin.pin) || (pin.state != as_extended && !is_text(pin.state)))
            refuse("a pin has a number and a state");
        if (!switches(usb.off, pin.pin))
            refuse("a USB pin is switched on and never off");
    }
    if (usb.over_current_line < no_line)
        refuse("a GPIO line has a number from 0");
}

// True, or it does not compile.
constexpr bool is_sound(const Model& model)
{
    if (!is_text(model.id) || std::string_view(model.id).size() > longest_platform_id)
        refuse("a platform id has 1 to 14 characters");
    if (model.sensors.empty())
        refuse("a model needs a sensor: nothing else protects it from heat");
    for (const Sensor& sensor : model.sensors)
        check(sensor);
    check_sources(model);
    check(model, model.report);
    check(model.usb);
    if (model.self_test.usb_pin != nullptr && !is_pin_number(model.self_test.usb_pin))
        refuse("a self-test looks at a pin without a number");
    if (!is_text(model.self_test.temperature))
        refuse("a self-test needs the key of a temperature");
    return true;
}

} // namespace power_man
