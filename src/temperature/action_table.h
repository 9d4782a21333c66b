// SPDX-License-Identifier: MIT
// What the actions of the models' tables are: a function each, and the name that a person reads.
#pragma once

#include <array>
#include <cstddef>

#include "models/model.h"
#include "temperature/temp_actions.h"

namespace power_man {

struct ActionRow {
    Action action;
    const char* name;
    void (*run)();
};

// Index: the action.
inline constexpr std::array<ActionRow, static_cast<std::size_t>(Action::count_)> action_table = {{
    {Action::no_act, "no_act", no_act},
    {Action::reboot_term, "reboot_term", reboot_term},
    {Action::power_off, "power_off", ::power_off},
    {Action::data_off, "data_off", data_off},
    {Action::data_on, "data_on", data_on},
    {Action::bgr_off, "bgr_off", bgr_off},
    {Action::bgr_on, "bgr_on", bgr_on},
    {Action::usb_power_off, "usb_power_off", usb_power_off},
    {Action::usb_power_on, "usb_power_on", usb_power_on},
    {Action::poe_off, "poe_off", poe_off},
    {Action::poe_on, "poe_on", poe_on},
    {Action::bgr_usb_off, "bgr_usb_off", bgr_usb_off},
    {Action::bgr_usb_on, "bgr_usb_on", bgr_usb_on},
    {Action::bgr_usb_poe_off, "bgr_usb_poe_off", bgr_usb_poe_off},
    {Action::bgr_usb_poe_on, "bgr_usb_poe_on", bgr_usb_poe_on},
    {Action::bgr_poe_off, "bgr_poe_off", bgr_poe_off},
    {Action::bgr_poe_on, "bgr_poe_on", bgr_poe_on},
    {Action::low_temp_off, "low_temp_off", low_temp_off},
    {Action::low_temp_on, "low_temp_on", low_temp_on},
    {Action::high_temp_warning_on, "high_temp_warning_on", high_temp_warning_on},
    {Action::high_temp_warning_off, "high_temp_warning_off", high_temp_warning_off},
    {Action::fan_on, "fan_on", fan_on},
    {Action::fan_off, "fan_off", fan_off},
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
