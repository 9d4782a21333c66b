// SPDX-License-Identifier: MIT
// When the settings are read, and what follows from each change.
#include <algorithm>
#include <string_view>

#include "ap/log.h"
#include "base/config_changes.h"
#include "base/port_setting.h"
#include "poe/pwr_mgr_poe.h"

namespace {

using power_man::for_each_value;

constexpr const char* sw_update_settled = "ram.status.sw_update.settled";

// The writers of the two status keys hand over a byte.
bool byte_is_set(std::int32_t value)
{
    return (value & 0xff) != 0;
}

PwrMgrPoe& manager(void* user)
{
    return *static_cast<PwrMgrPoe*>(user);
}

} // namespace

void PwrMgrPoe::registerConfigChangesBeforePrimPsuSwUpdate()
{
    config_change_register(sw_update_settled, cfgSwUpdateSettled, this);
}

void PwrMgrPoe::registerConfigChanges()
{
    config_change_register(RAM_STATUS_PWR_MGR_LAN_POE, ramStatusPwrMgrLanPoePwrControlledChanged,
                           this);
    config_change_register(RAM_STATUS_LAN, ramStatusInterfacesLanChanged, this);
    config_change_register(CFG_INTERFACES_LAN, cfgInterfacesLanChanged, this);
}

void PwrMgrPoe::applyInitialConfig()
{
    qv_slog(7, "PwrMgrPoe::applyInitialConfig()");
    applied = true;
    readStatus();
    // All settings first: the supply of one port depends on those of the others.
    for (std::uint32_t port = 0; port < numPorts; ++port) {
        const int number = static_cast<int>(port);
        (*poeEnabled)[port] = getCfgInterfacesLanPortPoeEnabled(number);
        (*portEnabled)[port] = getCfgInterfacesLanPortEnabled(number);
    }
    for (std::uint32_t port = 0; port < numPorts; ++port)
        setPowerForPoePort(port);
    registerConfigChanges();
    // What was written after its reading and before its registration is reported to nobody.
    if (catchUp())
        setPowerForAllPoePorts();
}

void PwrMgrPoe::switchAgain()
{
    if (!applied)
        return;
    readStatus(); // heat may have taken PoE just now
    setPowerForAllPoePorts();
}

void PwrMgrPoe::cfgSwUpdateSettled(unsigned int count, const config_data_t* entries)
{
    for_each_value(count, entries, [this](std::string_view key, std::int32_t) {
        if (key.starts_with(sw_update_settled))
            applyInitialConfig();
    });
}

void PwrMgrPoe::ramStatusPwrMgrLanPoePwrControlledChanged(unsigned int count,
                                                          const config_data_t* entries)
{
    qv_slog(7, "PwrMgrPoe::ramStatusPwrMgrLanPoePwrControlledChanged()");
    for_each_value(count, entries, [this](std::string_view key, std::int32_t value) {
        if (key != RAM_STATUS_PWR_MGR_LAN_POE)
            return;
        pwrControlled = byte_is_set(value);
        setPowerForAllPoePorts();
    });
}

void PwrMgrPoe::ramStatusInterfacesLanChanged(unsigned int count, const config_data_t* entries)
{
    qv_slog(7, "PwrMgrPoe::ramStatusInterfacesLanChanged()");
    for_each_value(count, entries, [this](std::string_view key, std::int32_t value) {
        if (key != RAM_STATUS_LAN)
            return;
        lanEnabled = byte_is_set(value);
        setPowerForAllPoePorts();
    });
}

void PwrMgrPoe::cfgInterfacesLanChanged(unsigned int count, const config_data_t* entries)
{
    qv_slog(7, "PwrMgrPoe::cfgInterfacesLanChanged()");
    for_each_value(count, entries,
                   [this](const char* key, std::int32_t value) { portSettingChanged(key, value); });
}

void PwrMgrPoe::portSettingChanged(const char* key, std::int32_t value)
{
    const auto setting = power_man::parse_port_setting(key, CFG_INTERFACES_LAN);
    if (!setting)
        return;
    const auto port = static_cast<std::uint32_t>(setting->port);
    const std::size_t dot = std::min(setting->rest.find('.'), setting->rest.size());
    const std::string_view leaf = setting->rest.substr(dot);
    if (port >= numPorts)
        return;
    if (leaf == ENABLED)
        (*portEnabled)[port] = value != 0;
    else if (leaf == POE_ENABLED)
        (*poeEnabled)[port] = value != 0;
    else
        return;
    setPowerForPoePort(port);
}

void PwrMgrPoe::cfgSwUpdateSettled(unsigned int count, const config_data_t* entries, void* user)
{
    manager(user).cfgSwUpdateSettled(count, entries);
}

void PwrMgrPoe::ramStatusPwrMgrLanPoePwrControlledChanged(unsigned int count,
                                                          const config_data_t* entries, void* user)
{
    manager(user).ramStatusPwrMgrLanPoePwrControlledChanged(count, entries);
}

void PwrMgrPoe::ramStatusInterfacesLanChanged(unsigned int count, const config_data_t* entries,
                                              void* user)
{
    manager(user).ramStatusInterfacesLanChanged(count, entries);
}

void PwrMgrPoe::cfgInterfacesLanChanged(unsigned int count, const config_data_t* entries,
                                        void* user)
{
    manager(user).cfgInterfacesLanChanged(count, entries);
}
