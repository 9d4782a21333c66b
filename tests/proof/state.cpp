// SPDX-License-Identifier: MIT
#include "proof/state.h"

#include "temperature/consumers.h"
#include "temperature/temp_desc.h"

namespace proof {
namespace {

std::optional<int> read(const char* name)
{
    std::int32_t value = 0;
    return config_read_int(name, &value) == 0 ? std::optional<int>(value) : std::nullopt;
}

// How many ends and beginnings of ranges are not above the reading.
int place(const Sensor& sensor, int reading)
{
    int count = 0;
    for (const Ranges& ranges : {sensor.alone, sensor.supplied}) {
        for (const Range& range : ranges)
            count += (reading >= range.min ? 1 : 0) + (reading > range.max ? 1 : 0);
    }
    return count;
}

std::string shown(std::optional<int> value)
{
    return value ? std::to_string(*value) : "-";
}

} // namespace

State State::present(const Policy& policy)
{
    State state;
    std::copy_n(power_man::holders().begin(), state.holds.size(), state.holds.begin());
    state.supply = read(key::external_supply);
    for (const Sensor& sensor : policy.sensors) {
        state.intervals.push_back(temp_mon_rec[static_cast<std::size_t>(sensor.number)].intv);
        state.readings.push_back(read(sensor.key));
    }
    return state;
}

std::string State::text() const
{
    std::string text = "supply " + shown(supply) + ", holds";
    for (const int count : holds)
        text += " " + std::to_string(count);
    for (std::size_t i = 0; i < intervals.size(); ++i)
        text += "; interval " + std::to_string(intervals[i]) + " at " + shown(readings[i]);
    return text;
}

std::string State::kind(const Policy& policy) const
{
    State same = *this;
    if (same.supply)
        same.supply = *supply != 0 ? 1 : 0;
    for (std::size_t i = 0; i < readings.size(); ++i) {
        const Sensor& sensor = policy.sensors[i];
        if (const auto reading = readings[i])
            same.readings[i] =
                sensor.by_state() ? interval_of_state(*reading) : place(sensor, *reading);
    }
    return same.text();
}

} // namespace proof
