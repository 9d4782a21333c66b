// SPDX-License-Identifier: MIT
// Why a consumer is not on: every reason there is, each by itself enough.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "insight/insight.h"
#include "insight/state.h"

namespace power_man::insight {

struct Cause {
    std::string why;   // behind "PoE is off "
    std::string until; // a sentence of its own; empty: until the cause is removed
    bool operator==(const Cause&) const = default;
};

struct Explanation {
    std::string subject;       // with its verb: "PoE port 1 is"
    const char* normal;        // "on"
    const char* affected;      // "off"
    std::vector<Cause> causes; // none: it is as `normal` says
};

struct Inquiry {
    const State& state;
    const Parts& parts;
};

// Of all ports, where there are several; `port` picks one.
using Port = std::optional<std::uint32_t>;
std::vector<Explanation> explain_usb(const Inquiry& inquiry, Port port);
std::vector<Explanation> explain_extended_usb(const Inquiry& inquiry, Port port);
std::vector<Explanation> explain_poe(const Inquiry& inquiry, Port port);
std::vector<Explanation> explain_phones(const Inquiry& inquiry, Port port);
std::vector<Explanation> explain_isdn(const Inquiry& inquiry, Port port);
std::vector<Explanation> explain_background(const Inquiry& inquiry, Port port);
std::vector<Explanation> explain_connections(const Inquiry& inquiry, Port port);

// Adds that the effect is in force, if it is.
void add_heat(std::vector<Cause>& causes, const State& state, Effect effect);

// Adds that the user's setting is off: 0, or missing where that means 0. True when it is.
bool add_setting(std::vector<Cause>& causes, const std::string& key, bool missing_is_on = false);

} // namespace power_man::insight
