// SPDX-License-Identifier: MIT
#include "phone/pwr_mgr_phone.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

#include "ap/log.h"
#include "base/assertion.h"
#include "base/config_changes.h"
#include "base/config_values.h"
#include "base/device_file.h"
#include "base/port_setting.h"

namespace {

std::string port_key(const char* prefix, std::uint32_t port)
{
    return std::string(prefix) + "." + std::to_string(port) + PwrMgrPhone::ENABLED_STRING;
}

} // namespace

PwrMgrPhone::PwrMgrPhone()
    : PwrMgrPhone({"/dev/slic0.0", "/dev/slic0.1", "/dev/slic1.0", "/dev/slic1.1"})
{
}

PwrMgrPhone::PwrMgrPhone(const std::vector<std::string>& devices) : slicDevices(devices) {}

PwrMgrPhone::~PwrMgrPhone()
{
    config_change_deregister(CFG_PHONE, cfgPhoneChanged, this);
}

void PwrMgrPhone::init()
{
    readCapabilities();
}

void PwrMgrPhone::readCapabilities()
{
    numPorts = 0;
    std::int32_t count = 0;
    if (config_read_int(CAPABILITY_NO_SLICS, &count) != 0) {
        qv_slog(7, "\n%s not defined phone is now disabled.\n", CAPABILITY_NO_SLICS);
        return;
    }
    if (count < 0) {
        qv_slog(3, "\n%s is negative\n", CAPABILITY_NO_SLICS);
        return;
    }
    numPorts = static_cast<std::uint32_t>(count);
    if (numPorts > slicDevices.size())
        power_man::assertion_failed("pwr_mgr_phone");
}

void PwrMgrPhone::createConfigDefaults() const
{
    for (std::uint32_t port = 1; port <= numPorts; ++port)
        power_man::write_default(port_key(CFG_PHONE, port).c_str(), DEFAULT_PHONE_ENABLED);
}

void PwrMgrPhone::registerForConfigChanges()
{
    config_change_register(CFG_PHONE, cfgPhoneChanged, this);
}

void PwrMgrPhone::applyInitialConfig()
{
    for (std::uint32_t port = 1; port <= numPorts; ++port) {
        const bool enabled = power_man::read_or_zero(port_key(CFG_PHONE, port).c_str()) != 0;
        ports[port] = {enabled, slicDevices[port - 1]};
        setPowerForPhonePort(port);
    }
}

void PwrMgrPhone::setPowerForPhonePort(std::uint32_t port)
{
    const Port& entry = ports[port];
    if (!setPowerForSlicDevice(entry.device, entry.enabled)) {
        qv_slog(4, "Failed to enable/disable phone interface %u", port);
        return;
    }
    config_write_int(port_key(RAM_PHONE, port).c_str(), entry.enabled ? 1 : 0);
}

void PwrMgrPhone::setPowerForAllPhonePorts()
{
    for (std::uint32_t port = 1; port <= numPorts; ++port)
        setPowerForPhonePort(port);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the form that callers rely on
bool PwrMgrPhone::setPowerForSlicDevice(std::string device, bool on) const
{
    power_man::DeviceFile file(device.c_str(), O_WRONLY | O_TRUNC);
    if (!file.is_open()) {
        qv_slog(4, "Failed to open phone interface %s", device.c_str());
        return false;
    }
    if (file.write_stream(on ? SLIC_POWER_UP : SLIC_POWER_DOWN))
        return true;
    qv_slog(4, "Failed to write phone interface %s: %s", device.c_str(), std::strerror(errno));
    return false;
}

void PwrMgrPhone::phoneEnabledChanged(std::uint32_t port, const std::int32_t* value)
{
    ports[port].enabled = *value != 0;
    setPowerForPhonePort(port);
}

void PwrMgrPhone::cfgPhoneChanged(unsigned int count, const config_data_t* entries)
{
    power_man::for_each_value(count, entries, [this](const char* key, std::int32_t value) {
        const auto setting = power_man::parse_port_setting(key, std::string(CFG_PHONE) + ".");
        if (!setting || setting->rest != ENABLED_STRING || setting->port < 1)
            return;
        if (const auto port = static_cast<std::uint32_t>(setting->port); port <= numPorts)
            phoneEnabledChanged(port, &value);
    });
}

void PwrMgrPhone::cfgPhoneChanged(unsigned int count, const config_data_t* entries, void* user)
{
    static_cast<PwrMgrPhone*>(user)->cfgPhoneChanged(count, entries);
}
