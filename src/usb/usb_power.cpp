// SPDX-License-Identifier: MIT
#include "usb/usb_power.h"

#include "ap/config.h"
#include "ap/log.h"
#include "ap/output.h"
#include "ap/text.h"
#include "base/config_keys.h"
#include "base/config_values.h"
#include "base/terminal.h"
#include "models/models.h"
#include "usb/over_current_watch.h"
#include "usb/usb_pins.h"

namespace {

namespace key = power_man::key;

constexpr unsigned int off_time_ms = 20;

} // namespace

void pwr_mgr_usb_power(int on, int extended)
{
    if (!power_man::set_usb_pins(on, extended) || on == 0)
        return;
    const int line = power_man::current_model()->usb.over_current_line;
    if (line != power_man::no_line)
        power_man::watch_over_current(static_cast<unsigned int>(line));
}

void apply_usb_config(int cycle)
{
    if (power_man::read_or_zero(key::usb_capability) == 0)
        return;
    const int enabled = power_man::read_or_zero(key::usb_enabled);
    if (cycle == 1) {
        qv_printf("set_off_on USB\n");
        pwr_mgr_usb_power(0, 0);
        qv_time_ms_delay(off_time_ms);
    }

    std::int32_t held = 0;
    if (config_read_int(key::usb_extended_held, &held) != 0)
        qv_slog(4, "Failed to read config: %s", key::usb_extended_held);
    if (power_man::tracing()) {
        qv_slogd("usb_ext_pwr_controlled=%d\n", held);
        qv_slogd("%s", held != 0 ? "usb_ext_pwr_controlled - update RAM_STATUS_USB\n"
                                 : "Not usb_ext_pwr_controlled - update RAM_STATUS_USB/EXT\n");
    }

    if (held != 0) {
        pwr_mgr_usb_power(enabled, 0);
        config_write_int(key::usb_status, enabled);
        return;
    }
    const int extended = power_man::read_or_zero(key::usb_extended);
    pwr_mgr_usb_power(enabled, extended);
    config_write_int(key::usb_status, enabled);
    config_write_int(key::usb_extended_status, extended);
}
