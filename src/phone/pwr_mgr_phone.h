// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "ap/config.h"
#include "bite/post_api.h"

// The manager of the analogue phone ports, which are numbered from 1. Each is driven by a SLIC
// with a device file; the manager switches it as the port's setting says, publishes the result
// in the port's status key and follows changes of the setting.
//
// One thread. Switching blocks as long as the SLIC's driver does.
class PwrMgrPhone {
public:
    static constexpr const char* CAPABILITY_NO_SLICS = "ram.platform.capabilities.slic.connectors";
    static constexpr const char* CFG_PHONE = "cfg.interfaces.phone";
    static constexpr const char* ENABLED_STRING = ".enabled";
    static constexpr const char* RAM_PHONE = "ram.status.interfaces.phone";
    // The form of a setting's key, for scanf, and the longest leaf in it.
    static constexpr const char* CFG_PHONE_SEARCH_STRING = "cfg.interfaces.phone.%d.%20s";
    static constexpr unsigned int CFG_LEAF_LENGTH = 20;
    static constexpr const char* SLIC_POWER_UP = "+=";
    static constexpr const char* SLIC_POWER_DOWN = "-";
    static constexpr int DEFAULT_PHONE_ENABLED = 0;

    struct Port {
        bool enabled = false;
        std::string device;
    };

    // With the terminals' four SLICs, or with those of a list: entry n - 1 is port n's file.
    PwrMgrPhone();
    explicit PwrMgrPhone(const std::vector<std::string>& devices);
    PwrMgrPhone(const PwrMgrPhone&) = delete; // the database calls this very object
    PwrMgrPhone& operator=(const PwrMgrPhone&) = delete;

    // Ends the subscription.
    virtual ~PwrMgrPhone();

    // The start, in this order. init() ends the process when the terminal claims more ports
    // than there are devices.
    void init();
    void createConfigDefaults() const;
    void registerForConfigChanges();
    void applyInitialConfig();

    void readCapabilities();

    // Switches from the port's entry and publishes the result. A failure is logged, and the
    // status key keeps its value.
    void setPowerForPhonePort(std::uint32_t port);
    void setPowerForAllPhonePorts();

    // False, and a line in the log, when the device file cannot be opened or written.
    bool setPowerForSlicDevice(std::string device, bool on) const;

    void phoneEnabledChanged(std::uint32_t port, const std::int32_t* value);

    // What there is: ports from 1 to portCount(), each with its SLIC's device file.
    std::uint32_t portCount() const { return numPorts; }
    const std::string& device(std::uint32_t port) const { return slicDevices[port - 1]; }

    // Change handler, and the form that the database calls (`user` is the manager).
    void cfgPhoneChanged(unsigned int count, const config_data_t* entries);
    static void cfgPhoneChanged(unsigned int count, const config_data_t* entries, void* user);

    // The power-on self-test of the phones: every port's device must open. Runs and reports it,
    // if the handler has enabled it.
    void writePOSTResult(CBitePostApi post);

private:
    std::vector<std::string> slicDevices;
    std::map<std::uint32_t, Port> ports;
    std::uint32_t numPorts = 0; // at most as many as devices; 0: there are no phones
};
