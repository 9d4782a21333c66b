// SPDX-License-Identifier: MIT
#include "thermal_model.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

#include "host/base/printable.h"
#include "host/base/text_file.h"

namespace replay {
namespace {

constexpr double most_degrees = 1000;
constexpr double longest_time_constant = 1e6; // seconds
constexpr std::size_t longest_shown = 40;

class Reader {
public:
    Reader(const std::string& file, const power_man::Model& model) : file_(file), model_(model) {}

    std::optional<std::vector<SensorHeat>> read(std::string& error)
    {
        const std::optional<std::string> content = host::read_text(file_, &error);
        if (!content) {
            error = file_ + ": " + error;
            return std::nullopt;
        }
        std::string_view rest = *content;
        bool good = true;
        for (line_ = 1; good; ++line_) {
            const auto line = host::take_line(rest);
            if (!line)
                break;
            good = read_line(host::without_blanks(line->substr(0, line->find('#'))));
        }
        if (good && sensors_.empty())
            good = refuse("it describes no sensor");
        if (good && !is_complete())
            good = refuse("the sensor before has no 'time constant'");
        error = error_;
        return good ? std::optional(sensors_) : std::nullopt;
    }

private:
    bool refuse(const std::string& why)
    {
        error_ = file_ + ":" + std::to_string(line_) + ": " + why;
        return false;
    }

    bool is_complete() const { return sensors_.empty() || sensors_.back().time_constant > 0; }

    bool read_line(std::string_view line)
    {
        constexpr std::string_view sensor = "sensor ";
        if (line.empty())
            return true;
        if (line.starts_with(sensor))
            return read_sensor(host::without_blanks(line.substr(sensor.size())));
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos)
            return refuse("write 'sensor NAME' or 'NAME = NUMBER'");
        if (sensors_.empty())
            return refuse("write 'sensor NAME' first");
        return read_value(host::without_blanks(line.substr(0, equals)),
                          host::without_blanks(line.substr(equals + 1)));
    }

    bool read_sensor(std::string_view name)
    {
        if (!is_complete())
            return refuse("the sensor before has no 'time constant'");
        const auto found =
            std::find_if(model_.sensors.begin(), model_.sensors.end(),
                         [name](const power_man::Sensor& sensor) { return name == sensor.name; });
        if (found == model_.sensors.end())
            return refuse("a " + std::string(model_.id) + " has no sensor '" +
                          host::printable(name, longest_shown) + "'");
        if (power_man::decides_by_alarm(*found))
            return refuse(std::string(found->name) +
                          " reports a state and no temperature: put it into the trace");
        SensorHeat heat;
        heat.sensor = static_cast<std::size_t>(found - model_.sensors.begin());
        if (std::any_of(sensors_.begin(), sensors_.end(),
                        [&heat](const SensorHeat& other) { return other.sensor == heat.sensor; }))
            return refuse(std::string(found->name) + " is described above already");
        sensors_.push_back(heat);
        return true;
    }

    bool read_value(std::string_view name, std::string_view text)
    {
        double value = 0;
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, value);
        if (error != std::errc{} || stop != end || !std::isfinite(value) || value < 0)
            return refuse("'" + host::printable(text, longest_shown) + "' is no number from 0");
        SensorHeat& heat = sensors_.back();
        if (name == "time constant") {
            if (value <= 0 || value > longest_time_constant)
                return refuse("a time constant is more than 0 and up to 1000000 seconds");
            heat.time_constant = value;
            return true;
        }
        if (value > most_degrees)
            return refuse("there are at most 1000 degrees");
        if (name == "off") {
            heat.off = value;
            return true;
        }
        for (const power_man::Consumer& consumer : power_man::consumers) {
            if (name == name_of(consumer.index)) {
                heat.added[consumer.index] = value;
                return true;
            }
        }
        return refuse("'" + host::printable(name, longest_shown) +
                      "' is neither 'time constant', 'off' nor a consumer");
    }

    const std::string& file_;
    const power_man::Model& model_;
    std::vector<SensorHeat> sensors_;
    std::string error_;
    int line_ = 0;
};

} // namespace

double SensorHeat::equilibrium(const Surroundings& surroundings) const
{
    double degrees = surroundings.ambient + off;
    for (std::size_t i = 0; i < power_man::consumer_count; ++i)
        degrees += surroundings.off[i] ? 0 : added[i] * surroundings.load[i] / 100;
    return degrees;
}

void SensorHeat::step(double seconds, const Surroundings& surroundings)
{
    const double end = equilibrium(surroundings);
    temperature = end + (temperature - end) * std::exp(-seconds / time_constant);
}

std::int32_t SensorHeat::reading() const
{
    return static_cast<std::int32_t>(std::lround(temperature));
}

std::optional<std::vector<SensorHeat>>
read_thermal_model(const std::string& file, const power_man::Model& model, std::string& error)
{
    return Reader(file, model).read(error);
}

} // namespace replay
