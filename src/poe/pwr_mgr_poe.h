// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ap/bus.h"
#include "ap/config.h"
#include "base/config_keys.h"

// The manager of Power over Ethernet on the LAN ports, which are numbered from 0.
//
// It mirrors the settings that decide about PoE and switches each port by the terminal's own
// means: one output behind the FPGA, or signals to the PSU MCU. Nothing is switched before the
// software update has settled; from then on every change is applied at once. It remembers
// nothing of what it switched: each call computes the wanted state and commands it.
//
// One thread. Nothing here blocks but the write to the FPGA's control file.
class PwrMgrPoe {
public:
    static constexpr int DEFAULT_POE = 0;
    static constexpr const char* CAPABILITY_ETH_POE_PORTS =
        "ram.platform.capabilities.ether.poe.num_ports";
    static constexpr const char* CAPABILITY_ETH_SW = "ram.platform.capabilities.ether.switch";
    static constexpr const char* CFG_INTERFACES_LAN = "cfg.interfaces.lan.";
    static constexpr const char* ENABLED = ".enabled";
    static constexpr const char* POE_ENABLED = ".poe.enabled";
    static constexpr const char* RAM_STATUS_PWR_MGR_LAN_POE = power_man::key::poe_held;
    static constexpr const char* RAM_STATUS_LAN = "ram.status.interfaces.lan.enabled";
    static constexpr const char* RAM_STATUS_POE = "ram.status.interfaces.lan.0.poe.enabled";
    static constexpr const char* SUPPLY_STATUS = "ram.status.psumcu.psu.poe.enable";
    static constexpr const char* V820_SYSFS_POE = "/sys/devices/platform/fpga.0/control/poe";

    // More ports than any terminal has. A larger capability is a damaged one: an error, and PoE
    // stays unconfigured, as with a negative one.
    static constexpr std::int32_t MAX_PORTS = 64;

    PwrMgrPoe() = default;
    PwrMgrPoe(const PwrMgrPoe&) = delete; // the database calls this very object
    PwrMgrPoe& operator=(const PwrMgrPoe&) = delete;

    // The subscriptions stay: to be destroyed after the loop has ended.
    virtual ~PwrMgrPoe() = default;

    // To be called once, before anything else. The connection stays the caller's.
    void init(_cbus_conn_t* connection);
    void readCapabilities();

    // A port's settings as they are in the database now; a missing one counts as enabled.
    bool getCfgInterfacesLanPortEnabled(int port);
    bool getCfgInterfacesLanPortPoeEnabled(int port);

    // Writes the defaults of missing keys.
    void createConfigDefaults() const;

    // Decides from the mirror and switches. Ports that do not exist are ignored.
    void setPowerForPoePort(std::uint32_t port);
    void setPowerForAllPoePorts();

    // True when any port could draw from the PoE supply. PoE must be configured.
    bool isPoePowerNeeded();

    // Commands without any decision. The supply is left alone when it is known to be as wanted.
    void setPoePsu(bool on);
    void setPoeOnV820(bool on) const;
    void setPoeOnRmBdu(bool on, std::uint32_t port);

    // Fills the mirror from the database, switches every port and follows the settings.
    void applyInitialConfig();

    // Switches every port as the terminal's model does it, if that has been done before: the model
    // has become known since.
    void switchAgain();
    void registerConfigChangesBeforePrimPsuSwUpdate();
    void registerConfigChanges();

    // What the mirror has: for whoever explains what is switched. A port is below portCount(),
    // which is 0 while PoE is not configured.
    struct PortView {
        bool lan;
        bool port;
        bool poe;
    };
    std::uint32_t portCount() const { return numPorts; }
    PortView view(std::uint32_t port) const
    {
        return {lanEnabled, (*portEnabled)[port], (*poeEnabled)[port]};
    }
    bool isApplied() const { return applied; } // the software update has settled

    // Change handlers, each with the form that the database calls (`user` is the manager).
    // Entries without a value are skipped.
    void cfgSwUpdateSettled(unsigned int count, const config_data_t* entries);
    void ramStatusPwrMgrLanPoePwrControlledChanged(unsigned int count,
                                                   const config_data_t* entries);
    void ramStatusInterfacesLanChanged(unsigned int count, const config_data_t* entries);
    void cfgInterfacesLanChanged(unsigned int count, const config_data_t* entries);

    static void cfgSwUpdateSettled(unsigned int count, const config_data_t* entries, void* user);
    static void ramStatusPwrMgrLanPoePwrControlledChanged(unsigned int count,
                                                          const config_data_t* entries, void* user);
    static void ramStatusInterfacesLanChanged(unsigned int count, const config_data_t* entries,
                                              void* user);
    static void cfgInterfacesLanChanged(unsigned int count, const config_data_t* entries,
                                        void* user);

private:
    static void describeSignals(); // of those below
    void applyThroughFpga(bool wanted);
    void applyThroughPsuMcu(std::uint32_t port, bool wanted);

    // Take what is in the two status keys now, or in all keys, into the mirror; keys without a
    // value leave it as it is. True when that has changed it.
    bool readStatus();
    bool catchUp();
    void portSettingChanged(const char* key, std::int32_t value);

    std::uint32_t numPorts = 0; // 0 while there are no bits
    bool lanEnabled = false;
    std::unique_ptr<std::vector<bool>> portEnabled; // null, or `numPorts` bits
    std::unique_ptr<std::vector<bool>> poeEnabled;  // null, or `numPorts` bits
    bool pwrControlled = false;                     // held off because of heat
    bool applied = false;                           // the settings have been, once at least
    _cbus_conn_t* cbusConn = nullptr;
};
