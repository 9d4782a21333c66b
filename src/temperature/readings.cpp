// SPDX-License-Identifier: MIT
#include "temperature/readings.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "ap/config.h"
#include "ap/log.h"
#include "ap/text.h"
#include "base/config_keys.h"
#include "temperature/temp_desc.h"

namespace power_man {
namespace {

enum class State { awaited, present, lost };

struct Followed {
    const char* key;
    const Sensor* sensor; // null: the supply
    std::size_t number;   // of the sensor among those of all models
    State state;
    std::int32_t since; // of that state, seconds since 1970
};

std::vector<Followed> followed;

bool has_value(const char* key)
{
    std::int32_t value = 0;
    return config_read_int(key, &value) == 0;
}

void follow(const Model& model, const char* key, std::size_t sensor)
{
    const bool supply = std::strcmp(key, key::external_supply) == 0;
    followed.push_back({key, supply ? nullptr : &model.sensors[sensor],
                        supply ? 0 : sensor_number(model, sensor),
                        has_value(key) ? State::present : State::awaited, qv_time()});
}

const char* interval_of(const Followed& reading)
{
    return nearest_name(temp_desc[reading.number], temp_mon_rec[reading.number].intv);
}

void report_loss(const Followed& reading)
{
    int status = 0;
    config_status(reading.key, &status);
    const char* const fault = status != 0 ? "is no integer" : "is missing";
    if (reading.sensor == nullptr)
        qv_slog(4,
                "External supply unknown, %s %s: no temperature is evaluated until it is known\n",
                reading.key, fault);
    else
        qv_slog(4, "%s: no reading, %s %s: it stays in %s\n", reading.sensor->name, reading.key,
                fault, interval_of(reading));
}

void report_return(const Followed& reading)
{
    const std::int32_t seconds = qv_time() - reading.since;
    if (reading.sensor == nullptr)
        qv_slog(5, "External supply known again after %d s\n", seconds);
    else
        qv_slog(5, "%s: readings again after %d s\n", reading.sensor->name, seconds);
}

void lose(Followed& reading, std::int32_t since)
{
    report_loss(reading);
    reading.state = State::lost;
    reading.since = since;
}

Followed* find(const char* key)
{
    const auto found = std::find_if(followed.begin(), followed.end(), [key](const Followed& row) {
        return std::strcmp(row.key, key) == 0;
    });
    return found != followed.end() ? &*found : nullptr;
}

} // namespace

void begin_readings(const Model& model)
{
    followed.clear();
    follow(model, key::external_supply, 0); // as the first, see supply_is_known()
    for (const Source& source : model.sources) {
        if (source.reading == Reading::alarm)
            follow(model, key::platform_hpa_state, source.sensor);
        if (source.reading != Reading::supply)
            follow(model, source.key, source.sensor);
    }
}

bool note_reading(const char* key, bool present)
{
    Followed* const reading = find(key);
    if (reading == nullptr)
        return false;
    const State before = reading->state;
    if (!present) {
        if (before == State::present)
            lose(*reading, qv_time());
        return false;
    }
    if (before == State::lost)
        report_return(*reading);
    reading->state = State::present;
    return before != State::present;
}

void report_missing_readings()
{
    for (Followed& reading : followed) {
        if (reading.state == State::awaited && !has_value(reading.key))
            lose(reading, reading.since);
    }
}

bool supply_is_known()
{
    return followed.front().state == State::present;
}

bool has_reading(const Sensor& sensor)
{
    return std::none_of(followed.begin(), followed.end(), [&sensor](const Followed& reading) {
        return reading.sensor == &sensor && reading.state == State::lost;
    });
}

const Sensor* sensor_without_reading()
{
    for (const Followed& reading : followed) {
        if (reading.sensor != nullptr && reading.state == State::lost)
            return reading.sensor;
    }
    return nullptr;
}

} // namespace power_man
