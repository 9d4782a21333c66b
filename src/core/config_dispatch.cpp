// SPDX-License-Identifier: MIT
#include "core/config_dispatch.h"

#include <cstring>

#include "ap/log.h"
#include "base/config_changes.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "post/self_test.h"
#include "usb/isdn_power.h"
#include "usb/usb_power.h"

namespace {

void usb_changed(std::int32_t)
{
    if (power_man::tracing())
        qv_slogd("CFG_USB changed\n");
    apply_usb_config(0);
}

// The extended port follows a power cycle only.
void usb_extended_changed(std::int32_t)
{
    if (power_man::tracing())
        qv_slogd("CFG_USB_EXT changed\n");
    apply_usb_config(1);
}

struct KeyAction {
    const char* key;
    void (*action)(std::int32_t value);
};

constexpr KeyAction key_actions[] = {
    {power_man::key::usb_enabled, usb_changed},
    {power_man::key::usb_extended, usb_extended_changed},
    {power_man::key::isdn_enabled, set_isdn_power},
};

using Action = void (*)(std::int32_t value);

// What follows from a change of the key; null for nothing.
Action action_of(const char* key)
{
    for (const KeyAction& row : key_actions) {
        if (std::strcmp(row.key, key) == 0)
            return row.action;
    }
    return power_man::decides_temperature_test(key) ? set_temperature_post_result : nullptr;
}

} // namespace

void pwr_mgr_config_changed_cb(unsigned int nbr_of_rec, const config_data_t* data, void*)
{
    power_man::for_each_value(nbr_of_rec, data, [](const char* key, std::int32_t value) {
        if (const Action action = action_of(key); action != nullptr)
            action(value);
    });
}
