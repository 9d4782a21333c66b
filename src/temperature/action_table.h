// SPDX-License-Identifier: MIT
// What the actions of the models' tables are: a function each, the name that a person reads, and
// what it begins or ends, in order.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "models/model.h"
#include "temperature/effects.h"
#include "temperature/temp_actions.h"

namespace power_man {

struct ActionRow {
    Action action;
    const char* name;
    void (*run)();
    bool begins; // its parts; otherwise it ends them
    std::span<const Effect> parts;
};

namespace parts {

inline constexpr std::span<const Effect> nothing;
inline constexpr Effect its_reboot[] = {Effect::reboot};
inline constexpr Effect its_shutdown[] = {Effect::shutdown};
inline constexpr Effect connections[] = {Effect::close_connections};
inline constexpr Effect background[] = {Effect::limit_background};
inline constexpr Effect port[] = {Effect::hold_extended_usb};
inline constexpr Effect poe_power[] = {Effect::hold_poe};
// The port is the larger consumer.
inline constexpr Effect port_and_background[] = {Effect::hold_extended_usb,
                                                 Effect::limit_background};
inline constexpr Effect background_port_and_poe[] = {Effect::limit_background,
                                                     Effect::hold_extended_usb, Effect::hold_poe};
inline constexpr Effect background_poe_and_fan[] = {Effect::limit_background, Effect::hold_poe,
                                                    Effect::full_fan};
inline constexpr Effect cold[] = {Effect::low_temperature};
inline constexpr Effect heat[] = {Effect::high_temperature};
inline constexpr Effect fan[] = {Effect::full_fan};

} // namespace parts

// Index: the action.
inline constexpr std::array<ActionRow, static_cast<std::size_t>(Action::count_)> action_table = {{
    {Action::no_act, "no_act", no_act, false, parts::nothing},
    {Action::reboot_term, "reboot_term", reboot_term, true, parts::its_reboot},
    {Action::power_off, "power_off", ::power_off, true, parts::its_shutdown},
    {Action::data_off, "data_off", data_off, true, parts::connections},
    {Action::data_on, "data_on", data_on, false, parts::connections},
    {Action::bgr_off, "bgr_off", bgr_off, true, parts::background},
    {Action::bgr_on, "bgr_on", bgr_on, false, parts::background},
    {Action::usb_power_off, "usb_power_off", usb_power_off, true, parts::port},
    {Action::usb_power_on, "usb_power_on", usb_power_on, false, parts::port},
    {Action::poe_off, "poe_off", poe_off, true, parts::poe_power},
    {Action::poe_on, "poe_on", poe_on, false, parts::poe_power},
    {Action::bgr_usb_off, "bgr_usb_off", bgr_usb_off, true, parts::port_and_background},
    {Action::bgr_usb_on, "bgr_usb_on", bgr_usb_on, false, parts::port_and_background},
    {Action::bgr_usb_poe_off, "bgr_usb_poe_off", bgr_usb_poe_off, true,
     parts::background_port_and_poe},
    {Action::bgr_usb_poe_on, "bgr_usb_poe_on", bgr_usb_poe_on, false,
     parts::background_port_and_poe},
    {Action::bgr_poe_off, "bgr_poe_off", bgr_poe_off, true, parts::background_poe_and_fan},
    {Action::bgr_poe_on, "bgr_poe_on", bgr_poe_on, false, parts::background_poe_and_fan},
    {Action::low_temp_off, "low_temp_off", low_temp_off, false, parts::cold},
    {Action::low_temp_on, "low_temp_on", low_temp_on, true, parts::cold},
    {Action::high_temp_warning_on, "high_temp_warning_on", high_temp_warning_on, true, parts::heat},
    {Action::high_temp_warning_off, "high_temp_warning_off", high_temp_warning_off, false,
     parts::heat},
    {Action::fan_on, "fan_on", fan_on, true, parts::fan},
    {Action::fan_off, "fan_off", fan_off, false, parts::fan},
}};

constexpr const ActionRow& action_row(Action action)
{
    return action_table[static_cast<std::size_t>(action)];
}

constexpr bool each_action_has_its_row()
{
    for (std::size_t i = 0; i < action_table.size(); ++i) {
        if (action_table[i].action != static_cast<Action>(i))
            return false;
    }
    return true;
}
static_assert(each_action_has_its_row(), "the rows stand in the order of the enumerators");

} // namespace power_man
