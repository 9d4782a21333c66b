// SPDX-License-Identifier: MIT
#include "temperature/effects.h"

#include <algorithm>
#include <string_view>

#include "ap/config.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "event_handler/event_source.h"
#include "temperature/temp_actions.h"
#include "temperature/temp_events.h"

namespace power_man {
namespace {

// Ends the terminal; `order` goes to the PSU MCU without its NUL.
void end_terminal(const char* signal, std::string_view order)
{
    config_write_int(key::power_off, 1);
    report_event(ev_close_terminal, EV_STATE_RAISED);
    cbus_send_signal(cbus_conn, signal, order.data(), static_cast<unsigned int>(order.size()));
}

void order_reboot()
{
    end_terminal("psumcu.powerctrl.reboot", "0, Rebooting terminal due to high temperature");
}

void order_shutdown()
{
    end_terminal("psumcu.powerctrl.shutdown", "0, Shutting down terminal due to high temperature");
}

template <ConsumerIndex Index>
void take_it()
{
    take(Index);
}

template <ConsumerIndex Index>
void let_it_go()
{
    let_go(Index);
}

template <unsigned int Event, unsigned int State>
void report()
{
    report_event(Event, State);
}

template <int Speed>
void run_fan()
{
    write_to_fan(Speed);
}

void nothing() {}

constexpr int fan_full = 255;

constexpr std::array<EffectRow, effect_count> rows = {{
    {Effect::close_connections, "connections", "closed", "open", take_it<data_connections>,
     let_it_go<data_connections>},
    {Effect::limit_background, "background data", "limited", "unlimited", take_it<background_data>,
     let_it_go<background_data>},
    {Effect::hold_extended_usb, "extended USB port", "off", "back as set",
     take_it<extended_usb_port>, let_it_go<extended_usb_port>},
    {Effect::hold_poe, "PoE", "off", "back as set", take_it<poe>, let_it_go<poe>},
    {Effect::full_fan, "fan", "full speed", "off", run_fan<fan_full>, run_fan<0>},
    {Effect::low_temperature, "low temperature", "reported", "over",
     report<ev_temp_low, EV_STATE_RAISED>, report<ev_temp_low, EV_STATE_CLEARED>},
    {Effect::high_temperature, "high temperature", "reported", "over",
     report<ev_warning, EV_STATE_RAISED>, report<ev_warning, EV_STATE_CLEARED>},
    {Effect::reboot, "terminal", "reboots", "reboots", order_reboot, nothing},
    {Effect::shutdown, "terminal", "shuts down", "shuts down", order_shutdown, nothing},
}};
static_assert(std::all_of(rows.begin(), rows.end(),
                          [](const EffectRow& row) {
                              return &row == &rows[static_cast<std::size_t>(row.effect)];
                          }),
              "the rows stand in the order of the enumerators");

} // namespace

constinit const std::array<EffectRow, effect_count> effects = rows;

} // namespace power_man
