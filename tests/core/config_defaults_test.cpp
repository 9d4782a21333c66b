// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "ap/config.h"
#include "core/config_defaults.h"
#include "core/pwr_mgr_main.h"
#include "support/terminal.h"

TEST(ConfigDefaults, MissingKeysGetTheirsInOrder)
{
    Terminal terminal("qv1202B");
    for (const char* const key :
         {"cfg.interfaces.usb.enabled", "cfg.interfaces.usb.extended_host_interface",
          "cfg.interfaces.isdn.enabled", "ram.status.hpa.temperature",
          "ram.status.hpa.temperature_state"})
        terminal.remove(key);
    pwr_mgr_poe->init(nullptr);
    pwr_mgr_phone->init();
    terminal.story();
    pwr_man_create_config_default();
    EXPECT_EQ(terminal.story(), "set cfg.interfaces.usb.enabled 1\n"
                                "set cfg.interfaces.usb.extended_host_interface 0\n"
                                "set cfg.interfaces.lan.0.poe.enabled 0\n"
                                "set cfg.interfaces.lan.1.poe.enabled 0\n"
                                "set ram.status.power_management.lan.poe.pwr_controlled 0\n"
                                "set cfg.interfaces.phone.1.enabled 0\n"
                                "set cfg.interfaces.phone.2.enabled 0\n"
                                "set cfg.interfaces.isdn.enabled 0\n"
                                "set ram.status.hpa.temperature 20\n"
                                "set ram.status.hpa.temperature_state 0\n"
                                "set ram.status.power_management.usb.extended.pwr_controlled 0\n"
                                "set ram.status.power_management.close_connections 0\n"
                                "set ram.status.power_management.limit_background 0\n");
    pwr_man_create_config_default();
    EXPECT_EQ(terminal.story(), "") << "what is set stays";

    for (const auto& [capability, usb] : {std::pair{"0", "0"}, {"5", "1"}}) {
        terminal.remove("cfg.interfaces.usb.enabled");
        terminal.write_text("ram.platform.capabilities.usb.default_enable", capability);
        pwr_man_create_config_default();
        EXPECT_EQ(terminal.value("cfg.interfaces.usb.enabled"), usb);
    }
    // Without ports the hold still gets its own.
    config_write_int("ram.platform.capabilities.ether.poe.num_ports", -1);
    terminal.remove("cfg.interfaces.lan.1.poe.enabled");
    terminal.remove(PwrMgrPoe::RAM_STATUS_PWR_MGR_LAN_POE);
    PwrMgrPoe unconfigured;
    unconfigured.init(nullptr);
    terminal.story();
    unconfigured.createConfigDefaults();
    EXPECT_EQ(terminal.story(), "set ram.status.power_management.lan.poe.pwr_controlled 0\n");
}
