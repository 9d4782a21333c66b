// SPDX-License-Identifier: MIT
#include "temperature/temp_actions.h"

#include "ap/config.h"
#include "temperature/action_table.h"

namespace {

using power_man::Action;

void perform(Action action)
{
    const power_man::ActionRow& row = power_man::action_row(action);
    for (const power_man::Effect part : row.parts) {
        const power_man::EffectRow& effect = power_man::effects[static_cast<std::size_t>(part)];
        row.begins ? effect.begin() : effect.end();
    }
}

} // namespace

void no_act() {}

void reboot_term()
{
    perform(Action::reboot_term);
}

void power_off()
{
    perform(Action::power_off);
}

void data_off()
{
    perform(Action::data_off);
}

void data_on()
{
    perform(Action::data_on);
}

void bgr_off()
{
    perform(Action::bgr_off);
}

void bgr_on()
{
    perform(Action::bgr_on);
}

void usb_power_off()
{
    perform(Action::usb_power_off);
}

void usb_power_on()
{
    perform(Action::usb_power_on);
}

void poe_off()
{
    perform(Action::poe_off);
}

void poe_on()
{
    perform(Action::poe_on);
}

void bgr_usb_off()
{
    perform(Action::bgr_usb_off);
}

void bgr_usb_on()
{
    perform(Action::bgr_usb_on);
}

void bgr_usb_poe_off()
{
    perform(Action::bgr_usb_poe_off);
}

void bgr_usb_poe_on()
{
    perform(Action::bgr_usb_poe_on);
}

void bgr_poe_off()
{
    perform(Action::bgr_poe_off);
}

void bgr_poe_on()
{
    perform(Action::bgr_poe_on);
}

void low_temp_off()
{
    perform(Action::low_temp_off);
}

void low_temp_on()
{
    perform(Action::low_temp_on);
}

void high_temp_warning_on()
{
    perform(Action::high_temp_warning_on);
}

void high_temp_warning_off()
{
    perform(Action::high_temp_warning_off);
}

void fan_on()
{
    perform(Action::fan_on);
}

void fan_off()
{
    perform(Action::fan_off);
}

void write_to_fan(int speed)
{
    config_write_int("ram.fan.set_speed", speed);
}
