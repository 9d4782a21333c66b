// SPDX-License-Identifier: MIT
// Port settings in keys and texts of any form: a port gets what scanf would have understood, and
// no other one does.
//
// Code: src/base/port_setting.cpp src/poe src/phone/pwr_mgr_phone.cpp src/usb/usb_power.cpp
#include <sys/mman.h>
#include <unistd.h>

#include "base/config_keys.h"
#include "base/config_values.h"
#include "base/port_setting.h"
#include "base/terminal.h"
#include "core/config_dispatch.h"
#include "fuzz.h"
#include "host/base/integer.h"
#include "phone/pwr_mgr_phone.h"
#include "poe/pwr_mgr_poe.h"

using fuzz::put;
using fuzz::require;

namespace {

namespace key = power_man::key;

constexpr std::uint32_t ports = 4; // with PoE, from 0; one phone, 1

struct Terminal {
    const int slic = memfd_create("slic", MFD_CLOEXEC);
    PwrMgrPhone phone{{"/fd/" + std::to_string(slic)}};
    PwrMgrPoe poe;

    Terminal()
    {
        cbus_conn = &fuzz::platform().bus;
        put(key::platform_id, "qv1608B");
        put(key::usb_capability, "1");
        put(PwrMgrPoe::CAPABILITY_ETH_POE_PORTS, std::to_string(ports));
        put(PwrMgrPhone::CAPABILITY_NO_SLICS, "1");
        poe.init(cbus_conn);
        phone.init();
        phone.registerForConfigChanges();
        phone.applyInitialConfig();
        poe.applyInitialConfig();
        config_change_register(key::usb_enabled, pwr_mgr_config_changed_cb, nullptr);
    }
    // A letter for each setting.
    std::string state() const
    {
        char text = 0;
        require(pread(slic, &text, 1, 0) == 1);
        std::string all{text, power_man::read_or_zero(key::usb_status) != 0 ? '+' : '-'};
        for (std::uint32_t port = 0; port < ports; ++port)
            all.append(poe.view(port).port ? "+" : "-").append(poe.view(port).poe ? "+" : "-");
        return all;
    }
};

// As scanf reads it; more than nine digits are nobody's number.
std::optional<power_man::PortSetting> scan(const std::string& name, const std::string& prefix)
{
    int port = 0;
    int length = 0;
    if (std::sscanf(name.c_str(), (prefix + "%d%n").c_str(), &port, &length) != 1)
        return std::nullopt;
    const auto end = static_cast<std::size_t>(length);
    const std::size_t first = name.find_first_not_of(" \t\n\v\f\r+-0", prefix.size());
    if (std::min(first, end) + 9 < end)
        return std::nullopt;
    return power_man::PortSetting{port, std::string_view(name).substr(end)};
}

// Where the letter of that setting stands.
std::size_t place_of(const std::string& name)
{
    std::size_t place = name == key::usb_enabled ? 1 : std::string::npos;
    for (const std::string prefix : {"cfg.interfaces.phone.", "cfg.interfaces.lan."}) {
        const auto right = scan(name, prefix);
        const auto setting = power_man::parse_port_setting(name, prefix);
        require(setting.has_value() == right.has_value());
        require(!right || (setting->port == right->port && setting->rest == right->rest));
        const bool lan = prefix.ends_with("lan.");
        const auto port = static_cast<std::uint32_t>(right ? right->port : -1);
        const std::string_view leaf =
            !right ? ""
            : lan  ? right->rest.substr(std::min(right->rest.find('.'), right->rest.size()))
                   : right->rest;
        if (lan && port < ports && (leaf == ".enabled" || leaf == ".poe.enabled"))
            place = 2 + 2 * port + (leaf == ".enabled" ? 0 : 1);
        else if (!lan && port == 1 && leaf == ".enabled")
            place = 0;
    }
    return place;
}

} // namespace

// Lines "KEY=TEXT", of the user's settings.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Terminal terminal;
    for (fuzz::Input input(data, size); !input.rest.empty();) {
        const std::string name = "cfg." + std::string(input.text('='));
        const auto value = host::parse_integer(input.rest.substr(0, input.rest.find('\n')));
        const std::string_view text = input.text('\n');
        if (host::check_key(name) != 0)
            continue;
        std::string expected = terminal.state();
        const std::size_t place = place_of(name);
        if (value && place < expected.size())
            expected[place] = *value != 0 ? '+' : '-';
        put(name, text);
        fuzz::platform().loop->run_for(0);
        require(terminal.state() == expected);
        put(name, std::nullopt);
    }
    return 0;
}
