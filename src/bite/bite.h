// SPDX-License-Identifier: MIT
#pragma once

// The enumerations of the built-in test equipment (BITE). Their numbers are those on the bus and
// in the configuration database.
class CBite {
public:
    // State and result of a power-on self-test (POST) or periodic self-test (PAST).
    enum eSelfTestState : int {
        ST_NOT_RUN = 0,
        ST_READY = 1, // allowed, may start
        ST_STARTED = 2,
        ST_PASSED = 3,
        ST_FAILED = 4,
        ST_TIMEOUT = 5
    };

    // State of an event or a condition-monitoring (CM) event.
    enum eEvState : int { EV_OFF = 1, EV_ON = 2, EV_NONE = 3 };

    // Most severe first.
    enum eSeverity : int {
        SEV_EMERGENCY = 0,
        SEV_ALERT = 1,
        SEV_FATAL = 2,
        SEV_ERROR = 3,
        SEV_WARNING = 4,
        SEV_NOTICE = 5,
        SEV_INFO = 6,
        SEV_DEBUG = 7
    };
};
