// SPDX-License-Identifier: MIT
#include <algorithm>

#include "ap/device.h"
#include "base/config_keys.h"
#include "insight/causes.h"
#include "insight/text.h"
#include "usb/usb_fault_handler.h"
#include "usb/usb_power.h"

namespace power_man::insight {
namespace {

// False when there is nothing to be switched.
bool add_missing(std::vector<Cause>& causes, const Model* model)
{
    if (model == nullptr)
        causes.push_back({"because the terminal model is unknown, and so are its pins", {}});
    else if (model->usb.on.empty())
        causes.push_back({"because this model has no USB port", {}});
    else if (read_key(key::usb_capability).value_or(0) == 0)
        causes.push_back(
            {printed("because this unit has none: %s is 0 or missing", key::usb_capability), {}});
    return causes.empty();
}

// For what should be on by all that is known.
void add_status(std::vector<Cause>& causes, const char* status)
{
    if (causes.empty() && read_key(status).value_or(0) == 0)
        causes.push_back(
            {printed("though nothing speaks against it: %s is not 1; see the log", status), {}});
}

std::vector<Cause> usb_causes(const State& state)
{
    std::vector<Cause> causes;
    if (!add_missing(causes, state.model))
        return causes;
    add_setting(causes, key::usb_enabled);
    if (const char* const chip = state.model->usb.chip; chip != nullptr && !device_exists(chip))
        causes.push_back({printed("because its GPIO chip %s is not there", chip), {}});
    if (usb_fault_handler != nullptr && usb_fault_handler->in_fault())
        causes.push_back({printed("or being switched off and on because of an over-current on "
                                  "GPIO %d",
                                  state.model->usb.over_current_line),
                          "It stays on when the line has been quiet for a second."});
    add_status(causes, key::usb_status);
    return causes;
}

bool has_extended_port(const Model& model)
{
    return std::any_of(model.usb.on.begin(), model.usb.on.end(),
                       [](const UsbPin& pin) { return pin.state == as_extended; });
}

} // namespace

std::vector<Explanation> explain_usb(const Inquiry& inquiry, Port)
{
    return {{"USB is", "on", "off", usb_causes(inquiry.state)}};
}

std::vector<Explanation> explain_extended_usb(const Inquiry& inquiry, Port)
{
    Explanation port{"The extended USB port is", "on", "off", {}};
    const State& state = inquiry.state;
    if (!add_missing(port.causes, state.model))
        return {port};
    if (!has_extended_port(*state.model)) {
        port.causes.push_back({"because this model has none", {}});
        return {port};
    }
    if (!usb_causes(state).empty())
        port.causes.push_back({"because USB is off; see: why usb", {}});
    add_setting(port.causes, key::usb_extended);
    add_heat(port.causes, state, Effect::hold_extended_usb);
    add_status(port.causes, key::usb_extended_status);
    return {port};
}

} // namespace power_man::insight
