// SPDX-License-Identifier: MIT
// What a sensor has begun and not ended yet. It is not kept anywhere: it follows from the interval
// that the sensor is in, since each sensor starts from the same one and what is begun on the way up
// is ended on the way down.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "models/model.h"
#include "temperature/action_table.h"

namespace power_man::insight {

class EffectSet {
public:
    bool has(Effect effect) const { return (bits_ & bit(effect)) != 0; }
    bool empty() const { return bits_ == 0; }
    void apply(const ActionRow& action);
    EffectSet& operator|=(EffectSet other)
    {
        bits_ |= other.bits_;
        return *this;
    }

private:
    static std::uint32_t bit(Effect effect) { return 1U << static_cast<unsigned int>(effect); }

    std::uint32_t bits_ = 0;
};

// The action on the way over the boundary `lower`, which is between the intervals `lower` and
// `lower` + 1. Beyond a sensor's last interval there is a boundary too.
const ActionRow& action_over(const Sensor& sensor, std::int32_t lower, bool up);

// Calls `visit(lower, up)` for every boundary on the way, in order.
template <typename Visit>
void for_each_boundary(std::int32_t from, std::int32_t to, Visit visit)
{
    for (; from < to; ++from)
        visit(from, true);
    for (; from > to; --from)
        visit(from - 1, false);
}

// What a sensor has in force in that interval.
EffectSet in_force(const Sensor& sensor, std::int32_t interval);

// The boundary over which it began the effect.
struct Boundary {
    std::int32_t lower;
    bool up;
};
std::optional<Boundary> begun_at(const Sensor& sensor, std::int32_t interval, Effect effect);

} // namespace power_man::insight
