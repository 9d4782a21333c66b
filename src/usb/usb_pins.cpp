// SPDX-License-Identifier: MIT
#include "usb/usb_pins.h"

#include "ap/config.h"
#include "ap/device.h"
#include "ap/log.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "gpio/gpio_pin.h"
#include "models/models.h"

namespace power_man {

bool set_usb_pins(int on, int extended)
{
    const Model* const model = current_model();
    if (model == nullptr) {
        qv_slog(3, "Failed to set usb power: unknown platform [%s]",
                printable(pwr_mgr_get_platform_id()).c_str());
        return false;
    }
    const UsbPower& usb = model->usb;
    if (usb.chip != nullptr && !device_exists(usb.chip)) {
        qv_slog(3, "%s not found", usb.chip);
        config_write_int(key::usb_status, 0);
        return false;
    }
    const char* const extended_state = extended != 0 ? "high" : "low";
    for (const UsbPin& row : on != 0 ? usb.on : usb.off)
        gpio_exp_pin(row.pin, row.state != as_extended ? row.state : extended_state);
    return true;
}

} // namespace power_man
