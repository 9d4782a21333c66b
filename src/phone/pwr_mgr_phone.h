// SPDX-License-Identifier: MIT
#pragma once

// The manager of the analogue phone ports. It does not switch anything yet.
class PwrMgrPhone {
public:
    PwrMgrPhone() = default;
    virtual ~PwrMgrPhone() = default;

    // Called once each at start-up, in this order.
    void init() {}
    void registerForConfigChanges() {}
    void applyInitialConfig() {}
};
