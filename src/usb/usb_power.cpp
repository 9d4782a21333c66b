// SPDX-License-Identifier: MIT
#include "usb/usb_power.h"

#include <exception>
#include <memory>

#include "ap/config.h"
#include "ap/device.h"
#include "ap/log.h"
#include "ap/output.h"
#include "ap/text.h"
#include "base/config_values.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "gpio/gpio_pin.h"
#include "gpio/interrupt_file.h"
#include "usb/usb_fault_handler.h"
#include "usb/usb_pins.h"

UsbFaultHandler* usb_fault_handler = nullptr;

namespace {

namespace key = power_man::key;

constexpr const char* usb_capability = "ram.platform.capabilities.usb";

constexpr unsigned int over_current_gpio = 81;
constexpr unsigned int off_time_ms = 20;

struct OverCurrentWatch {
    UsbFaultHandler handler;
    InterruptFile line{over_current_gpio, &handler};
};

// Watches the over-current line from now on, unless there is a handler already. Without the
// line's value file USB stays on unwatched, and the next USB on tries again.
void watch_over_current()
{
    static bool reported = false;
    if (usb_fault_handler != nullptr)
        return;
    auto watch = std::make_unique<OverCurrentWatch>();
    try {
        watch->line.initialize(main_fdloop);
    } catch (const std::exception& failure) {
        if (!reported)
            qv_slog(3, "USB over-current on GPIO %u is not watched: %s\n", over_current_gpio,
                    failure.what());
        reported = true;
        return;
    }
    // Lives as long as the process: the loop calls both until its end.
    usb_fault_handler = &watch.release()->handler;
}

} // namespace

void pwr_mgr_usb_power(int on, int extended)
{
    const power_man::UsbPinTable* const table = power_man::find_usb_pins();
    if (table == nullptr) {
        qv_slog(3, "Failed to set usb power: unknown platform [%s]", pwr_mgr_get_platform_id());
        return;
    }
    if (table->chip != nullptr && !device_exists(table->chip)) {
        qv_slog(3, "%s not found", table->chip);
        config_write_int(key::usb_status, 0);
        return;
    }
    for (const power_man::UsbPin& row : on != 0 ? table->on : table->off) {
        const char* const follow_extended = extended != 0 ? "high" : "low";
        gpio_exp_pin(row.pin, row.state != nullptr ? row.state : follow_extended);
    }
    if (on != 0 && table->over_current_line)
        watch_over_current();
}

void apply_usb_config(int cycle)
{
    if (power_man::read_or_zero(usb_capability) == 0)
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
