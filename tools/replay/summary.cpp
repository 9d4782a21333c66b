// SPDX-License-Identifier: MIT
#include "summary.h"

namespace replay {
namespace {

void account(SensorSummary& sensor, std::int64_t now)
{
    sensor.time_in[sensor.interval] += now - sensor.since;
    sensor.since = now;
}

void account(ConsumerSummary& consumer, std::int64_t now)
{
    const std::int64_t time = now - consumer.since;
    consumer.since = now;
    if (!consumer.off)
        return;
    consumer.time_off += time;
    for (std::size_t i = 0; i < consumer.by_sensor.size(); ++i)
        consumer.by_sensor[i] += (consumer.by >> i & 1U) != 0 ? time : 0;
}

} // namespace

Summary::Summary(const power_man::Model& model) : sensors(model.sensors.size())
{
    for (std::size_t i = 0; i < sensors.size(); ++i) {
        const std::size_t count = model.sensors[i].intervals.size();
        sensors[i].time_in.resize(count + 1);
        sensors[i].entered.resize(count + 1);
    }
    for (ConsumerSummary& consumer : consumers)
        consumer.by_sensor.resize(sensors.size());
}

void Summary::row(std::int64_t, const Row& row)
{
    ++rows;
    writes += row.writes.size();
}

void Summary::evaluated(std::int64_t now, const Reading& reading)
{
    SensorSummary& sensor = sensors[reading.sensor];
    ++sensor.readings;
    sensor.last = reading.value;
    if (!sensor.lowest || reading.value < sensor.lowest->value)
        sensor.lowest = {reading.value, now};
    if (!sensor.highest || reading.value > sensor.highest->value)
        sensor.highest = {reading.value, now};
    if (!reading.is_transition())
        return;
    account(sensor, now);
    sensor.interval = reading.after;
    ++sensor.entered[reading.after];
}

void Summary::consumer(std::int64_t now, power_man::ConsumerIndex index, bool off, Sensors by)
{
    ConsumerSummary& consumer = consumers[index];
    account(consumer, now);
    consumer.times_off += off && !consumer.off ? 1 : 0;
    consumer.off = off;
    consumer.by = by;
}

void Summary::event(std::int64_t, std::string_view name, bool raised_now)
{
    if (!raised_now)
        return;
    const auto found = raised.find(name);
    if (found != raised.end())
        ++found->second;
    else
        raised.emplace(name, 1);
}

void Summary::order(std::int64_t, Order order)
{
    ++(order == Order::reboot ? reboots : shutdowns);
}

void Summary::ended(std::int64_t now)
{
    duration = now;
    for (SensorSummary& sensor : sensors)
        account(sensor, now);
    for (ConsumerSummary& consumer : consumers)
        account(consumer, now);
}

} // namespace replay
