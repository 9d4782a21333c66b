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

constexpr void need(const char* text)
{
    if (text == nullptr || *text == '\0')
        refuse("a text is missing");
}

constexpr void check_ranges(const Interval& lower, const Interval& upper)
{
    for (const auto side : {&Ranges::alone, &Ranges::supplied}) {
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
    need(sensor.name);
    need(sensor.key);
    if (sensor.intervals.size() <= initial_interval || sensor.intervals.size() > most_intervals)
        refuse("a sensor has two to five intervals");
    for (const Interval& interval : sensor.intervals)
        need(interval.name);
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
        need(source.title);
        if (source.sensor >= model.sensors.size())
            refuse("a source names a sensor that the model has not");
        if ((source.reading == Reading::alarm) != decides_by_alarm(model.sensors[source.sensor]))
            refuse("a sensor is fed with what it is not decided by");
        if (source.reading == Reading::temperature &&
            std::string_view(source.key) != model.sensors[source.sensor].key)
            refuse("temp_status shows another temperature than decides");
        const auto has_its_key = [&source](const Source& other) {
            return std::string_view(other.key) == source.key;
        };
        if (std::count_if(model.sources.begin(), model.sources.end(), has_its_key) != 1)
            refuse("a key feeds one sensor");
    }
    for (const Sensor& sensor : model.sensors) {
        const auto feeds = [&](const Source& source) {
            return &model.sensors[source.sensor] == &sensor && source.reading != Reading::supply;
        };
        if (std::none_of(model.sources.begin(), model.sources.end(), feeds))
            refuse("no source feeds a sensor");
    }
    if (!model.copies.empty() && !has_amplifier(model))
        refuse("copies are made where there is an amplifier");
}

constexpr void check_report(const Model& model)
{
    const auto amplifier = static_cast<std::size_t>(model.report.amplifier);
    if (model.report.sensor >= model.sensors.size())
        refuse("temp_status shows a sensor that the model has not");
    if (model.report.amplifier != no_sensor &&
        (amplifier >= model.sensors.size() || !decides_by_alarm(model.sensors[amplifier])))
        refuse("temp_status shows as amplifier what is none");
}

constexpr void check(const UsbPower& usb)
{
    const auto check_pins = [](std::span<const UsbPin> pins, std::span<const UsbPin> others) {
        for (const UsbPin& pin : pins) {
            const auto is_same = [&pin](const UsbPin& other) {
                return std::string_view(other.pin) == pin.pin;
            };
            if (std::string_view(pin.pin).find_first_not_of("0123456789") != std::string_view::npos)
                refuse("a pin goes by its GPIO number");
            if (std::none_of(others.begin(), others.end(), is_same))
                refuse("a USB pin is switched in one direction only");
        }
    };
    check_pins(usb.on, usb.off);
    check_pins(usb.off, usb.on);
    for (const UsbPin& pin : usb.off)
        need(pin.state);
}

// True, or it does not compile.
constexpr bool is_sound(const Model& model)
{
    need(model.id);
    if (std::string_view(model.id).size() > longest_platform_id)
        refuse("a platform id has up to 14 characters");
    if (model.sensors.empty())
        refuse("a model needs a sensor: nothing else protects it from heat");
    for (const Sensor& sensor : model.sensors)
        check(sensor);
    check_sources(model);
    check_report(model);
    check(model.usb);
    need(model.self_test.temperature);
    return true;
}

} // namespace power_man
