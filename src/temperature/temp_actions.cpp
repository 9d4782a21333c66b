// SPDX-License-Identifier: MIT
#include "temperature/temp_actions.h"

#include <cstdint>
#include <string_view>

#include "ap/config.h"
#include "base/config_keys.h"
#include "base/config_values.h"
#include "base/terminal.h"
#include "event_handler/event_source.h"
#include "poe/pwr_mgr_poe.h"
#include "usb/usb_power.h"

namespace {

namespace key = power_man::key;

enum EventId : unsigned int {
    ev_usb_extended = 0x10203,
    ev_limit_background = 0x10204,
    ev_close_connections = 0x10205,
    ev_close_terminal = 0x10206,
    ev_temp_low = 0x10207,
    ev_poe = 0x10208,
    ev_warning = 0x10209
};

constexpr const char* background_rate = "rmcfg.sys.reduce_background_datarate";
constexpr const char* fan_speed = "ram.fan.set_speed";
constexpr int fan_full = 255;

using Body = void (*)();

// How many sensors hold each consumer off.
std::int32_t data_hold = 0;
std::int32_t bgr_hold = 0;
std::int32_t usb_hold = 0;
std::int32_t poe_hold = 0;

void take(std::int32_t& hold, Body off)
{
    ++hold;
    if (hold > 1)
        return; // held off already
    off();
}

void let_go(std::int32_t& hold, Body on)
{
    --hold;
    if (hold > 0)
        return; // another sensor still holds it
    on();
}

void raise(unsigned int id)
{
    power_man::report_event(id, EV_STATE_RAISED);
}

void clear(unsigned int id)
{
    power_man::report_event(id, EV_STATE_CLEARED);
}

void close_connections()
{
    config_write_int(key::close_connections, 1);
    raise(ev_close_connections);
}

void open_connections()
{
    config_write_int(key::close_connections, 0);
    clear(ev_close_connections);
}

void limit_background()
{
    config_write_int(key::limit_background, 1);
    config_write_int(background_rate, 1);
    raise(ev_limit_background);
}

void free_background()
{
    config_write_int(key::limit_background, 0);
    config_write_int(background_rate, 0);
    clear(ev_limit_background);
}

void take_extended_usb()
{
    pwr_mgr_usb_power(power_man::read_or_zero(key::usb_status), 0);
    config_write_int(key::usb_extended_status, 0);
    config_write_int(key::usb_extended_held, 1);
    raise(ev_usb_extended);
}

void return_extended_usb()
{
    const int enabled = power_man::read_or_zero(key::usb_enabled);
    const int extended = power_man::read_or_zero(key::usb_extended);
    pwr_mgr_usb_power(enabled, extended);
    config_write_int(key::usb_extended_status, extended);
    config_write_int(key::usb_extended_held, 0);
    clear(ev_usb_extended);
}

void hold_poe()
{
    config_write_int(PwrMgrPoe::RAM_STATUS_PWR_MGR_LAN_POE, 1);
    raise(ev_poe);
}

void release_poe()
{
    config_write_int(PwrMgrPoe::RAM_STATUS_PWR_MGR_LAN_POE, 0);
    clear(ev_poe);
}

// Ends the terminal; `order` goes to the PSU MCU without its NUL.
void end_terminal(const char* signal, std::string_view order)
{
    config_write_int(key::power_off, 1);
    raise(ev_close_terminal);
    cbus_send_signal(cbus_conn, signal, order.data(), static_cast<unsigned int>(order.size()));
}

} // namespace

namespace power_man {

const std::array<EventDefinition, 9> temperature_event_definitions = {{
    {0x10201, 1, "EV_AP_HIGH_TEMP_REDUCED_PERFORMANCE"},
    {0x10202, 1, "EV_AP_HIGH_TEMP_USB"},
    {ev_usb_extended, 1, "EV_AP_HIGH_TEMP_USB_EXT"},
    {ev_limit_background, 1, "EV_AP_HIGH_TEMP_LIMIT_BACKGROUND"},
    {ev_close_connections, 1, "EV_AP_HIGH_TEMP_CLOSE_CONNECTIONS"},
    {ev_close_terminal, 2, "EV_AP_HIGH_TEMP_CLOSE_TERMINAL"},
    {ev_temp_low, 1, "EV_AP_TEMP_LOW"},
    {ev_poe, 1, "EV_AP_HIGH_TEMP_POE"},
    {ev_warning, 1, "EV_AP_HIGH_TEMP_WARN"},
}};

} // namespace power_man

void no_act() {}

void data_off()
{
    take(data_hold, close_connections);
}

void data_on()
{
    let_go(data_hold, open_connections);
}

void bgr_off()
{
    take(bgr_hold, limit_background);
}

void bgr_on()
{
    let_go(bgr_hold, free_background);
}

void usb_power_off()
{
    take(usb_hold, take_extended_usb);
}

void usb_power_on()
{
    let_go(usb_hold, return_extended_usb);
}

void poe_off()
{
    take(poe_hold, hold_poe);
}

void poe_on()
{
    let_go(poe_hold, release_poe);
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
    raise(ev_temp_low);
}

void low_temp_off()
{
    clear(ev_temp_low);
}

void high_temp_warning_on()
{
    raise(ev_warning);
}

void high_temp_warning_off()
{
    clear(ev_warning);
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
    config_write_int(fan_speed, speed);
}
