// SPDX-License-Identifier: MIT
#include "usb/isdn_power.h"

#include "ap/log.h"

void set_isdn_power(int enabled)
{
    qv_slog(4, "ISDN power is not switched %s: not built in\n", enabled != 0 ? "on" : "off");
}
