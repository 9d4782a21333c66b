// SPDX-License-Identifier: MIT
#include "insight/causes.h"
#include "insight/text.h"
#include "poe/pwr_mgr_poe.h"

namespace power_man::insight {
namespace {

Explanation all_ports(Cause cause)
{
    return {"PoE is", "on", "off", {std::move(cause)}};
}

std::string setting(std::uint32_t port, const char* leaf)
{
    return PwrMgrPoe::CFG_INTERFACES_LAN + std::to_string(port) + leaf;
}

// What keeps a port off by settings and state, as the manager has them.
std::vector<Cause> obstacles(const PwrMgrPoe& poe, std::uint32_t port)
{
    std::vector<Cause> causes;
    const PwrMgrPoe::PortView view = poe.view(port);
    if (!view.lan)
        causes.push_back(
            {printed("because the LAN is off: %s is 0 or missing", PwrMgrPoe::RAM_STATUS_LAN), {}});
    if (!view.port)
        add_setting(causes, setting(port, PwrMgrPoe::ENABLED));
    if (!view.poe)
        add_setting(causes, setting(port, PwrMgrPoe::POE_ENABLED));
    return causes;
}

// One output behind the FPGA serves all ports, as the one that was switched last wanted it.
Cause common_output(const PwrMgrPoe& poe)
{
    std::vector<std::string> others;
    for (std::uint32_t port = 0; port < poe.portCount(); ++port) {
        if (!obstacles(poe, port).empty())
            others.push_back(std::to_string(port));
    }
    if (others.empty())
        return {printed("because the FPGA's output has failed: %s is not 1; see the log",
                        PwrMgrPoe::RAM_STATUS_POE),
                {}};
    return {printed("with the one output for all ports, which was switched last for port %s; see: "
                    "why poe %s",
                    joined(others, " or ").c_str(), others.front().c_str()),
            {}};
}

Explanation explain_port(const Inquiry& inquiry, std::uint32_t port)
{
    const PwrMgrPoe& poe = *inquiry.parts.poe;
    const bool by_fpga = inquiry.state.model->poe == PoeSwitching::fpga;
    Explanation thing{printed("PoE port %u is", port), "on", "off", obstacles(poe, port)};
    if (by_fpga || port != 0) // port 0 keeps its power from the PSU MCU
        add_heat(thing.causes, inquiry.state, Effect::hold_poe);
    if (!thing.causes.empty())
        return thing;
    if (by_fpga && read_key(PwrMgrPoe::RAM_STATUS_POE).value_or(0) == 0)
        thing.causes.push_back(common_output(poe));
    if (!by_fpga && read_key(PwrMgrPoe::SUPPLY_STATUS).value_or(1) == 0)
        thing.causes.push_back(
            {printed("because the PoE supply is: %s is 0", PwrMgrPoe::SUPPLY_STATUS), {}});
    return thing;
}

} // namespace

std::vector<Explanation> explain_poe(const Inquiry& inquiry, Port only)
{
    const PwrMgrPoe& poe = *inquiry.parts.poe;
    const Model* const model = inquiry.state.model;
    if (model == nullptr)
        return {all_ports({"because the terminal model is unknown", {}})};
    if (model->poe == PoeSwitching::none)
        return {all_ports({"because this model does not switch it", {}})};
    if (poe.portCount() == 0)
        return {all_ports({printed("because this unit has none: %s is no number from 1 to %d",
                                   PwrMgrPoe::CAPABILITY_ETH_POE_PORTS, PwrMgrPoe::MAX_PORTS),
                           {}})};
    if (!poe.isApplied()) {
        Explanation thing{"PoE is", "on", "not switched yet", {}};
        thing.causes.push_back({"because the software update has not settled since the start", {}});
        add_heat(thing.causes, inquiry.state, Effect::hold_poe);
        return {thing};
    }
    std::vector<Explanation> ports;
    for (std::uint32_t port = 0; port < poe.portCount(); ++port) {
        if (!only || *only == port)
            ports.push_back(explain_port(inquiry, port));
    }
    return ports;
}

} // namespace power_man::insight
