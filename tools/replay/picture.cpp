// SPDX-License-Identifier: MIT
#include "picture.h"

#include <algorithm>

#include "temperature/temp_events.h"
#include "usb/usb_fault_handler.h"

namespace replay {
namespace {

// Events of consumers are their lanes already.
bool is_of_a_consumer(std::string_view name)
{
    return std::any_of(
        power_man::temperature_event_definitions.begin(),
        power_man::temperature_event_definitions.end(), [name](const EventDefinition& definition) {
            return name == definition.shortText &&
                   std::any_of(power_man::consumers.begin(), power_man::consumers.end(),
                               [&](const power_man::Consumer& consumer) {
                                   return consumer.event == definition.id;
                               });
        });
}

} // namespace

void Spans::open(std::int64_t time, Sensors by)
{
    if (open_ && spans_.back().by == by)
        return;
    times_ += open_ ? 0 : 1;
    close(time);
    spans_.push_back({time, time, by});
    open_ = true;
}

void Spans::close(std::int64_t time)
{
    if (open_)
        spans_.back().end = time;
    open_ = false;
}

void Picture::evaluated(std::int64_t now, const Reading& reading)
{
    SensorPicture& sensor = sensors[reading.sensor];
    sensor.lowest = std::min(sensor.lowest, reading.value);
    sensor.highest = std::max(sensor.highest, reading.value);
    if (!reading.is_state)
        sensor.curve.add(now, reading.value);
    if (reading.supplied)
        unsupplied.close(now);
    else
        unsupplied.open(now, 0);
    if (reading.is_transition())
        sensor.transitions.push_back({now, reading.value, reading.after});
}

void Picture::consumer(std::int64_t now, power_man::ConsumerIndex index, bool off, Sensors by)
{
    if (off)
        consumers[index].open(now, by);
    else
        consumers[index].close(now);
}

void Picture::event(std::int64_t now, std::string_view name, bool raised)
{
    if (name == usb_event_definition.shortText) {
        if (raised)
            short_circuits.open(now, 0);
        else
            short_circuits.close(now);
    } else if (!is_of_a_consumer(name)) {
        marks[std::string(raised ? "raised " : "cleared ").append(name)].push_back(now);
    }
}

void Picture::order(std::int64_t now, Order order)
{
    marks[order == Order::reboot ? "reboot asked" : "shutdown asked"].push_back(now);
}

void Picture::ended(std::int64_t now)
{
    duration = now;
    for (Spans& spans : consumers)
        spans.close(now);
    short_circuits.close(now);
    unsupplied.close(now);
}

} // namespace replay
