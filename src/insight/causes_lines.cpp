// SPDX-License-Identifier: MIT
// The lines of the terminal: analogue phones and ISDN. Heat leaves them alone.
#include "ap/device.h"
#include "base/config_keys.h"
#include "insight/causes.h"
#include "insight/text.h"
#include "phone/pwr_mgr_phone.h"
#include "usb/isdn_power.h"

namespace power_man::insight {
namespace {

Explanation explain_phone(const PwrMgrPhone& phone, std::uint32_t port)
{
    const auto key = [port](const char* prefix) {
        return printed("%s.%u%s", prefix, port, PwrMgrPhone::ENABLED_STRING);
    };
    Explanation thing{printed("Phone port %u is", port), "on", "off", {}};
    const std::string status = key(PwrMgrPhone::RAM_PHONE);
    if (!add_setting(thing.causes, key(PwrMgrPhone::CFG_PHONE)) &&
        read_key(status.c_str()).value_or(0) == 0)
        thing.causes.push_back(
            {printed("because its device %s has failed: %s is not 1; see the log",
                     phone.device(port).c_str(), status.c_str()),
             {}});
    return thing;
}

} // namespace

std::vector<Explanation> explain_phones(const Inquiry& inquiry, Port only)
{
    const PwrMgrPhone& phone = *inquiry.parts.phone;
    if (phone.portCount() == 0)
        return {{"The phone ports are",
                 "on",
                 "off",
                 {{printed("because this unit has none: %s is 0 or missing",
                           PwrMgrPhone::CAPABILITY_NO_SLICS),
                   {}}}}};
    std::vector<Explanation> ports;
    for (std::uint32_t port = 1; port <= phone.portCount(); ++port) {
        if (!only || *only == port)
            ports.push_back(explain_phone(phone, port));
    }
    return ports;
}

std::vector<Explanation> explain_isdn(const Inquiry&, Port)
{
    Explanation isdn{"ISDN is", "on", "off", {}};
    if (!device_exists(isdn_control_file))
        isdn.causes.push_back(
            {printed("because this unit has none: there is no %s", isdn_control_file), {}});
    else if (!add_setting(isdn.causes, key::isdn_enabled) &&
             read_key(key::isdn_status).value_or(0) == 0)
        isdn.causes.push_back({printed("because %s has failed: %s is not 1; see the log",
                                       isdn_control_file, key::isdn_status),
                               {}});
    return {isdn};
}

} // namespace power_man::insight
