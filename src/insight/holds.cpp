// SPDX-License-Identifier: MIT
#include "insight/holds.h"

#include "models/sound.h"

namespace power_man::insight {
namespace {

constexpr auto initial = static_cast<std::int32_t>(initial_interval);

} // namespace

void EffectSet::apply(const ActionRow& action)
{
    for (const Effect part : action.parts)
        bits_ = action.begins ? bits_ | bit(part) : bits_ & ~bit(part);
}

const ActionRow& action_over(const Sensor& sensor, std::int32_t lower, bool up)
{
    const auto index = static_cast<std::size_t>(up ? lower : lower + 1);
    if (index >= sensor.intervals.size())
        return action_row(Action::no_act);
    const Interval& interval = sensor.intervals[index];
    return action_row(up ? interval.up : interval.down);
}

EffectSet in_force(const Sensor& sensor, std::int32_t interval)
{
    EffectSet effects;
    for_each_boundary(initial, interval, [&](std::int32_t lower, bool up) {
        effects.apply(action_over(sensor, lower, up));
    });
    return effects;
}

std::optional<Boundary> begun_at(const Sensor& sensor, std::int32_t interval, Effect effect)
{
    std::optional<Boundary> found;
    EffectSet effects;
    for_each_boundary(initial, interval, [&](std::int32_t lower, bool up) {
        const bool before = effects.has(effect);
        effects.apply(action_over(sensor, lower, up));
        if (effects.has(effect) != before)
            found = before ? std::nullopt : std::optional(Boundary{lower, up});
    });
    return found;
}

} // namespace power_man::insight
