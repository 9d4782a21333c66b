// SPDX-License-Identifier: MIT
#include "temperature/temp_actions.h"

#include <string_view>

#include "ap/config.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "event_handler/event_source.h"
#include "temperature/consumers.h"
#include "temperature/temp_events.h"

using power_man::let_go;
using power_man::take;

namespace {

constexpr int fan_full = 255;

void raise(unsigned int id)
{
    power_man::report_event(id, EV_STATE_RAISED);
}

void clear(unsigned int id)
{
    power_man::report_event(id, EV_STATE_CLEARED);
}

// Ends the terminal; `order` goes to the PSU MCU without its NUL.
void end_terminal(const char* signal, std::string_view order)
{
    config_write_int(power_man::key::power_off, 1);
    raise(power_man::ev_close_terminal);
    cbus_send_signal(cbus_conn, signal, order.data(), static_cast<unsigned int>(order.size()));
}

} // namespace

void no_act() {}

void data_off()
{
    take(power_man::data_connections);
}

void data_on()
{
    let_go(power_man::data_connections);
}

void bgr_off()
{
    take(power_man::background_data);
}

void bgr_on()
{
    let_go(power_man::background_data);
}

void usb_power_off()
{
    take(power_man::extended_usb_port);
}

void usb_power_on()
{
    let_go(power_man::extended_usb_port);
}

void poe_off()
{
    take(power_man::poe);
}

void poe_on()
{
    let_go(power_man::poe);
}

void bgr_usb_off()
{
    usb_power_off(); // the port is the larger consumer
    bgr_off();
}

void bgr_usb_on()
{
    usb_power_on();
    bgr_on();
}

void bgr_usb_poe_off()
{
    bgr_off();
    usb_power_off();
    poe_off();
}

void bgr_usb_poe_on()
{
    bgr_on();
    usb_power_on();
    poe_on();
}

void bgr_poe_off()
{
    bgr_off();
    poe_off();
    fan_on();
}

void bgr_poe_on()
{
    bgr_on();
    poe_on();
    fan_off();
}

void reboot_term()
{
    end_terminal("psumcu.powerctrl.reboot", "0, Rebooting terminal due to high temperature");
}

void power_off()
{
    end_terminal("psumcu.powerctrl.shutdown", "0, Shutting down terminal due to high temperature");
}

void low_temp_on()
{
    raise(power_man::ev_temp_low);
}

void low_temp_off()
{
    clear(power_man::ev_temp_low);
}

void high_temp_warning_on()
{
    raise(power_man::ev_warning);
}

void high_temp_warning_off()
{
    clear(power_man::ev_warning);
}

void fan_on()
{
    write_to_fan(fan_full);
}

void fan_off()
{
    write_to_fan(0);
}

void write_to_fan(int speed)
{
    config_write_int("ram.fan.set_speed", speed);
}
