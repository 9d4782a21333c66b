// SPDX-License-Identifier: MIT
#include "base/version.h"
#include "insight/status.h"
#include "insight/text.h"
#include "insight/thresholds.h"

namespace power_man::insight {
namespace {

// The lines of one family of metrics.
class Family {
public:
    Family(std::string& text, const char* name, const char* type, const char* help,
           const char* unit = nullptr)
        : text_(text), name_(name)
    {
        print_to(text_, "# TYPE %s %s\n", name, type);
        if (unit != nullptr)
            print_to(text_, "# UNIT %s %s\n", name, unit);
        print_to(text_, "# HELP %s %s\n", name, help);
    }

    void sample(const std::string& labels, std::int64_t value, const char* suffix = "")
    {
        print_to(text_, "%s%s", name_, suffix);
        if (!labels.empty())
            print_to(text_, "{%s}", labels.c_str());
        print_to(text_, " %lld\n", static_cast<long long>(value));
    }

private:
    std::string& text_;
    const char* name_;
};

std::string label(const char* name, std::string_view value)
{
    return std::string(name) + "=" + quoted(value);
}

std::string of(const SensorState& sensor)
{
    return label("sensor", sensor.sensor->name);
}

void add_terminal(std::string& text, const State& state)
{
    Family(text, "power_man_build_info", "gauge", "1 for the daemon's version.")
        .sample(label("version", version), 1);
    if (state.model != nullptr)
        Family(text, "power_man_platform", "gauge", "1 for the terminal model.")
            .sample(label("platform", state.model->id), 1);
    Family(text, "power_man_protected", "gauge",
           "1 while each sensor is evaluated, 0 when the terminal is not protected from heat.")
        .sample("", state.unprotected.empty() ? 1 : 0);
    if (state.supply)
        Family(text, "power_man_external_supply", "gauge", "1 with external supply, 0 without.")
            .sample("", *state.supply != 0 ? 1 : 0);
}

void add_readings(std::string& text, const State& state)
{
    Family temperature(text, "power_man_temperature_celsius", "gauge", "The present temperature.",
                       "celsius");
    for (const SensorState& sensor : state.sensors) {
        if (sensor.temperature)
            temperature.sample(of(sensor), *sensor.temperature);
    }
    Family alarm(
        text, "power_man_amplifier_state", "gauge",
        "0 normal, 1 too high, 2 high, 3 critical high, 4 low, 5 too low, 6 critical low.");
    for (const SensorState& sensor : state.sensors) {
        if (sensor.alarm)
            alarm.sample(of(sensor), *sensor.alarm);
    }
    Family age(text, "power_man_reading_age_seconds", "gauge", "Time since the last reading.",
               "seconds");
    for (const SensorState& sensor : state.sensors) {
        if (const auto read_at = sensor.read_at())
            age.sample(of(sensor), now() - *read_at);
    }
    Family valid(text, "power_man_reading_valid", "gauge",
                 "1 while the sensor can be read, 0 otherwise.");
    for (const SensorState& sensor : state.sensors)
        valid.sample(of(sensor), sensor.is_valid() ? 1 : 0);
}

void add_intervals(std::string& text, const State& state)
{
    Family interval(text, "power_man_interval", "gauge",
                    "Temperature interval: 0 low, 1 normal, higher ones as the model has them.");
    for (const SensorState& sensor : state.sensors)
        interval.sample(of(sensor), sensor.interval);
    Family crossings(text, "power_man_crossings", "counter",
                     "Boundaries crossed, by the interval below the boundary.");
    for (const SensorState& sensor : state.sensors) {
        const auto boundaries = static_cast<std::size_t>(highest_interval(*sensor.description));
        for (std::size_t i = 0; sensor.memory != nullptr && i < boundaries; ++i) {
            const Crossings& boundary = sensor.memory->boundaries[i];
            const std::string labels =
                of(sensor) + "," + label("above", sensor.sensor->intervals[i].name);
            crossings.sample(labels + ",direction=\"up\"", boundary.upwards, "_total");
            crossings.sample(labels + ",direction=\"down\"", boundary.downwards, "_total");
        }
    }
}

// Every sensor with every hold, so that a rule finds the one that ends.
void add_holds(std::string& text, const State& state)
{
    Family holds(text, "power_man_hold", "gauge", "1 while the sensor holds the consumer.");
    for (const SensorState& sensor : state.sensors) {
        for (std::size_t i = 0; i < consumer_count; ++i)
            holds.sample(label("consumer", effects[i].name) + "," +
                             label("holder", sensor.sensor->name),
                         sensor.effects.has(static_cast<Effect>(i)) ? 1 : 0);
    }
}

} // namespace

std::string status_metrics(const State& state)
{
    std::string text;
    add_terminal(text, state);
    add_readings(text, state);
    add_intervals(text, state);
    add_holds(text, state);
    return text + "# EOF\n";
}

} // namespace power_man::insight
