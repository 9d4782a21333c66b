// SPDX-License-Identifier: MIT
// What actions begin and end: their parts, in words for people as well.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "temperature/consumers.h"

namespace power_man {

// The consumers first, by their index.
enum class Effect : std::uint8_t {
    close_connections = data_connections,
    limit_background = background_data,
    hold_extended_usb = extended_usb_port,
    hold_poe = poe,
    full_fan,
    low_temperature,
    high_temperature,
    reboot,
    shutdown,
    count_ // no effect: how many there are
};

struct EffectRow {
    Effect effect;
    const char* name;  // of what is affected
    const char* begun; // its state then
    const char* ended;
    void (*begin)();
    void (*end)(); // a terminal's end has none
};

inline constexpr auto effect_count = static_cast<std::size_t>(Effect::count_);
extern const std::array<EffectRow, effect_count> effects; // by their number

constexpr bool is_hold(Effect effect)
{
    return static_cast<std::size_t>(effect) < consumer_count;
}

} // namespace power_man
