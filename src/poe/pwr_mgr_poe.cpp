// SPDX-License-Identifier: MIT
// Which ports there are, and their settings.
#include "poe/pwr_mgr_poe.h"

#include "ap/log.h"
#include "base/config_values.h"

namespace {

template <typename Number>
std::string port_key(Number port, const char* leaf)
{
    return PwrMgrPoe::CFG_INTERFACES_LAN + std::to_string(port) + leaf;
}

// Takes the key's value, if it has one, into a flag of the mirror. True when that has changed it.
template <typename Flag>
bool take(const std::string& key, Flag&& flag)
{
    std::int32_t value = 0;
    if (config_read_int(key.c_str(), &value) != 0 || (value != 0) == flag)
        return false;
    flag = value != 0;
    return true;
}

} // namespace

void PwrMgrPoe::init(_cbus_conn_t* connection)
{
    cbusConn = connection;
    describeSignals();
    readCapabilities();
}

void PwrMgrPoe::readCapabilities()
{
    std::int32_t count = 0;
    if (config_read_int(CAPABILITY_ETH_POE_PORTS, &count) != 0) {
        qv_slog(7, "\n%s not defined. POE is now disabled.\n", CAPABILITY_ETH_POE_PORTS);
        count = 0;
    }
    if (count < 0) {
        qv_slog(3, "\n%s is negative\n", CAPABILITY_ETH_POE_PORTS);
        return;
    }
    if (count > MAX_PORTS) {
        qv_slog(3, "\n%s is %d, more than the %d ports possible. POE is now disabled.\n",
                CAPABILITY_ETH_POE_PORTS, count, MAX_PORTS);
        return;
    }
    numPorts = static_cast<std::uint32_t>(count);
    portEnabled = std::make_unique<std::vector<bool>>(numPorts);
    poeEnabled = std::make_unique<std::vector<bool>>(numPorts);
}

bool PwrMgrPoe::getCfgInterfacesLanPortEnabled(int port)
{
    const std::string key = port_key(port, ENABLED);
    std::int32_t value = 0;
    if (config_read_int(key.c_str(), &value) == 0)
        return value != 0;
    qv_slog(7, "%s not defined. Port is assumed enabled.\n", key.c_str());
    return true;
}

bool PwrMgrPoe::getCfgInterfacesLanPortPoeEnabled(int port)
{
    const std::string key = port_key(port, POE_ENABLED);
    std::int32_t value = 0;
    if (config_read_int(key.c_str(), &value) == 0)
        return value != 0;
    qv_slog(4, "POE on port %s not defined. POE is assumed enabled.\n", key.c_str());
    return true;
}

void PwrMgrPoe::createConfigDefaults() const
{
    for (std::uint32_t port = 0; port < numPorts; ++port)
        power_man::write_default(port_key(port, POE_ENABLED).c_str(), DEFAULT_POE);
    power_man::write_default(RAM_STATUS_PWR_MGR_LAN_POE, 0);
}

bool PwrMgrPoe::readStatus()
{
    const bool lan = take(RAM_STATUS_LAN, lanEnabled);
    const bool held = take(RAM_STATUS_PWR_MGR_LAN_POE, pwrControlled);
    return lan || held;
}

bool PwrMgrPoe::catchUp()
{
    bool changed = readStatus();
    for (std::uint32_t port = 0; port < numPorts; ++port) {
        changed |= take(port_key(port, POE_ENABLED), (*poeEnabled)[port]);
        changed |= take(port_key(port, ENABLED), (*portEnabled)[port]);
    }
    return changed;
}
