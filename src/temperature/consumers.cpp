// SPDX-License-Identifier: MIT
#include "temperature/consumers.h"

#include <algorithm>

#include "ap/config.h"
#include "base/config_keys.h"
#include "base/config_values.h"
#include "event_handler/event_source.h"
#include "temperature/temp_events.h"
#include "usb/usb_power.h"

namespace power_man {
namespace {

void take_extended_usb()
{
    pwr_mgr_usb_power(read_or_zero(key::usb_status), 0);
    config_write_int(key::usb_extended_status, 0);
}

void return_extended_usb()
{
    const int enabled = read_or_zero(key::usb_enabled);
    const int extended = read_or_zero(key::usb_extended);
    pwr_mgr_usb_power(enabled, extended);
    config_write_int(key::usb_extended_status, extended);
}

void set_held(const Consumer& consumer, bool held)
{
    if (const auto first = held ? consumer.off : consumer.on; first != nullptr)
        first();
    config_write_int(consumer.key, held ? 1 : 0);
    if (consumer.also != nullptr)
        config_write_int(consumer.also, held ? 1 : 0);
    report_event(consumer.event, held ? EV_STATE_RAISED : EV_STATE_CLEARED);
}

constexpr std::array<Consumer, consumer_count> rows = {{
    {.index = data_connections, .key = key::close_connections, .event = ev_close_connections},
    {.index = background_data,
     .key = key::limit_background,
     .event = ev_limit_background,
     .also = "rmcfg.sys.reduce_background_datarate"},
    {.index = extended_usb_port,
     .key = key::usb_extended_held,
     .event = ev_usb_extended,
     .off = take_extended_usb,
     .on = return_extended_usb},
    {.index = poe, .key = key::poe_held, .event = ev_poe},
}};
static_assert(std::all_of(rows.begin(), rows.end(),
                          [](const Consumer& row) { return &row == &rows[row.index]; }),
              "the rows stand in the order of the enumerators");

// How many sensors hold each.
std::array<std::int32_t, rows.size()> holds{};

} // namespace

constinit const std::array<Consumer, consumer_count> consumers = rows;

void take(ConsumerIndex index)
{
    if (++holds[index] <= 1)
        set_held(consumers[index], true);
}

void let_go(ConsumerIndex index)
{
    if (--holds[index] <= 0)
        give_back(index);
}

const std::array<std::int32_t, consumer_count>& holders()
{
    return holds;
}

bool is_left_held(ConsumerIndex index)
{
    return holds[index] <= 0 && read_or_zero(consumers[index].key) != 0;
}

void give_back(ConsumerIndex index)
{
    set_held(consumers[index], false);
}

} // namespace power_man
