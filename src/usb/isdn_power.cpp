// SPDX-License-Identifier: MIT
#include "usb/isdn_power.h"

#include <fcntl.h>

#include "ap/config.h"
#include "ap/log.h"
#include "base/config_keys.h"
#include "base/device_file.h"

using power_man::isdn_control_file;

void set_isdn_power(int enabled)
{
    power_man::DeviceFile file(isdn_control_file, O_RDWR);
    if (!file.is_open()) {
        // The log calls ISDN a phone interface as well.
        qv_slog(4, "Failed to open phone interface %s", isdn_control_file);
        return;
    }
    if (file.write(enabled != 0 ? "1" : "0"))
        config_write_int(power_man::key::isdn_status, enabled);
    else
        qv_slog(4, "Failed to enable/disable isdn interface");
}
