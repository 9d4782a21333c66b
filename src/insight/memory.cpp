// SPDX-License-Identifier: MIT
#include "insight/memory.h"

#include <vector>

#include "ap/config.h"
#include "insight/holds.h"
#include "temperature/temp_desc.h"
#include "temperature/temp_level.h"

namespace power_man::insight {
namespace {

constexpr std::int32_t tenths = 10; // that an amplifier reports for a degree

struct Memory {
    const Model* model = nullptr;
    std::size_t first = 0; // number of the model's first sensor
    Moment start = 0;
    std::vector<SensorMemory> sensors; // as many as the model has
    std::array<std::optional<Moment>, effect_count> since;
    std::optional<Moment> any_since;
};

Memory memory;

// Of an amplifier the state comes in, behind its temperature.
std::optional<std::int32_t> degrees(const Sensor& sensor, int temperature)
{
    if (!decides_by_alarm(sensor))
        return temperature;
    std::int32_t value = 0;
    if (config_read_int(sensor.key, &value) != 0)
        return std::nullopt;
    return value / tenths;
}

void note_effects(Moment at)
{
    EffectSet effects;
    for (std::size_t i = 0; i < memory.sensors.size(); ++i)
        effects |= in_force(memory.model->sensors[i], temp_mon_rec[memory.first + i].intv);
    for (std::size_t i = 0; i < effect_count; ++i) {
        if (!effects.has(static_cast<Effect>(i)))
            memory.since[i].reset();
        else if (!memory.since[i])
            memory.since[i] = at;
    }
    if (effects.empty())
        memory.any_since.reset();
    else if (!memory.any_since)
        memory.any_since = at;
}

void note_crossings(SensorMemory& sensor, Moment at, std::int32_t reading,
                    const Evaluation& evaluation)
{
    const bool supplied = evaluation.supply.value_or(0) != 0;
    for_each_boundary(evaluation.before, evaluation.after, [&](std::int32_t lower, bool up) {
        const auto index = static_cast<std::size_t>(lower);
        Crossings& crossings = sensor.boundaries[index];
        ++(up ? crossings.upwards : crossings.downwards);
        crossings.at = at;
        crossings.reading = reading;
        crossings.supplied = supplied;
        crossings.up = up;
        sensor.last_crossed = index;
    });
}

void observe(const Evaluation& evaluation)
{
    const std::size_t index = evaluation.sensor - memory.first;
    if (index >= memory.sensors.size())
        return;
    SensorMemory& sensor = memory.sensors[index];
    const Sensor& description = memory.model->sensors[index];
    const Moment at = now();
    sensor.read_at = at;
    if (const auto reading = degrees(description, evaluation.temp))
        sensor.history.add(at, *reading, evaluation.after);
    if (evaluation.before == evaluation.after)
        return;
    note_crossings(sensor, at,
                   decides_by_alarm(description) ? evaluation.alarm_id : evaluation.temp,
                   evaluation);
    note_effects(at);
}

} // namespace

void start_memory(const Model* model)
{
    memory = Memory();
    memory.model = model;
    memory.start = now();
    if (model == nullptr)
        return;
    memory.first = sensor_number(*model, 0);
    for (std::size_t i = 0; i < model->sensors.size(); ++i) {
        const std::int32_t interval = temp_mon_rec[memory.first + i].intv;
        memory.sensors.push_back({{}, {}, {}, History(memory.start, interval)});
    }
    add_evaluation_observer(observe);
}

std::span<const SensorMemory> sensor_memories()
{
    const Moment at = now();
    for (SensorMemory& sensor : memory.sensors)
        sensor.history.advance(at);
    return memory.sensors;
}

Moment memory_start()
{
    return memory.start;
}

std::optional<Moment> in_force_since(Effect effect)
{
    return memory.since[static_cast<std::size_t>(effect)];
}

std::optional<Moment> any_in_force_since()
{
    return memory.any_since;
}

} // namespace power_man::insight
