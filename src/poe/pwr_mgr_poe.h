// SPDX-License-Identifier: MIT
#pragma once

#include "ap/bus.h"

// The manager of Power over Ethernet. It does not switch anything yet.
class PwrMgrPoe {
public:
    static constexpr const char* RAM_STATUS_PWR_MGR_LAN_POE =
        "ram.status.power_management.lan.poe.pwr_controlled";

    PwrMgrPoe() = default;
    virtual ~PwrMgrPoe() = default;

    // Both are called once at start-up, in this order. The connection stays the caller's.
    void init(_cbus_conn_t* connection) { cbusConn = connection; }
    void registerConfigChangesBeforePrimPsuSwUpdate() {}

private:
    _cbus_conn_t* cbusConn = nullptr;
};
