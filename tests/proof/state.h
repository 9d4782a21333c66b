// SPDX-License-Identifier: MIT
#pragma once

#include "proof/policy.h"
#include "support/terminal.h"

namespace proof {

// Of the daemon's policy: all that what it does next depends on.
struct State {
    std::vector<int> intervals; // by sensor
    std::array<int, 4> holds{}; // by consumer
    std::optional<int> supply;  // none: unknown
    std::vector<std::optional<int>> readings;

    static State present(const Policy& policy);
    std::string text() const;

    // The same for all readings that no boundary of the sensor separates, and for all states of an
    // amplifier and values of the supply that mean the same: states are counted by it.
    std::string kind(const Policy& policy) const;
};

} // namespace proof
