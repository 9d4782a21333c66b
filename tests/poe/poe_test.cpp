// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "core/pwr_mgr_main.h"
#include "host/host.h"
#include "host/logging.h"
#include "support/failing_device.h"
#include "support/terminal.h"

namespace {

constexpr const char* capability = "ram.platform.capabilities.ether.poe.num_ports";
constexpr const char* settled = "ram.status.sw_update.settled";
constexpr const char* lan_status = "ram.status.interfaces.lan.enabled";
constexpr const char* supply_status = "ram.status.psumcu.psu.poe.enable";
constexpr const char* poe_0 = "cfg.interfaces.lan.0.poe.enabled";
constexpr const char* poe_1 = "cfg.interfaces.lan.1.poe.enabled";
constexpr const char* enabled_0 = "cfg.interfaces.lan.0.enabled";
constexpr const char* extended_usb = "cfg.interfaces.usb.extended_host_interface";
constexpr const char* temperature = "rmcfg.sys.mainboard.temperature";
constexpr const char* control_file = "/sys/devices/platform/fpga.0/control/poe";

// A story in short words, on one line.
std::string brief(std::string story)
{
    for (const auto& [from, to] : {std::pair{"signal psumcu.poe.signal.set.port.poe.enabled ", ""},
                                   {"signal psumcu.poe.signal.set.poe.psu.enabled ", "supply "},
                                   {"file /sys/devices/platform/fpga.0/control/poe ", "fpga "},
                                   {"set ram.status.interfaces.lan.0.poe.enabled ", "status "},
                                   {"set ram.status.power_management.", "pm."},
                                   {"\n", "; "}}) {
        for (std::size_t at = 0; (at = story.find(from)) != std::string::npos;)
            story.replace(at, std::string_view(from).size(), to);
    }
    return story;
}

std::string log;

void keep_line(int level, std::string_view text)
{
    log.append(std::to_string(level)).append(text).append("|");
}

// One change, handed over as the database does; keys that it would refuse too.
void change(const std::string& key)
{
    std::int32_t value = 1;
    const config_data_t entry{CONFIG_TYPE_INTEGER, key.c_str(), &value, 4, 4, 0};
    pwr_mgr_poe->cfgInterfacesLanChanged(1, &entry);
}

} // namespace

// From the start to the heat and back; after the settings only temperatures are written.
TEST(Poe, HeatTakesTheFpgaOutputAndGivesItBack)
{
    Terminal terminal("qv1202B");
    terminal.write({{"cfg.interfaces.usb.enabled", 1}, {extended_usb, 1}});
    terminal.start();
    EXPECT_EQ(terminal.write({{lan_status, 1}, {poe_0, 1}, {poe_1, 1}}), "");
    EXPECT_EQ(brief(terminal.write(settled, 0)), "fpga 1; status 1; fpga 1; status 1; ");
    EXPECT_EQ(brief(terminal.write(temperature, 72)),
              "pm.limit_background 1; set rmcfg.sys.reduce_background_datarate 1; "
              "raise EV_AP_HIGH_TEMP_LIMIT_BACKGROUND; pin 249 high; pin 250 high; pin 251 high; "
              "pin 252 low; pin 253 in; pin 254 in; pin 255 high; "
              "set ram.status.interfaces.usb.extended_host_interface 0; "
              "pm.usb.extended.pwr_controlled 1; raise EV_AP_HIGH_TEMP_USB_EXT; "
              "pm.lan.poe.pwr_controlled 1; raise EV_AP_HIGH_TEMP_POE; "
              "fpga 0; status 0; fpga 0; status 0; ");
    EXPECT_EQ(brief(terminal.write(temperature, 60)),
              "pm.limit_background 0; set rmcfg.sys.reduce_background_datarate 0; "
              "clear EV_AP_HIGH_TEMP_LIMIT_BACKGROUND; pin 249 high; pin 250 high; pin 251 high; "
              "pin 252 high; pin 253 in; pin 254 in; pin 255 high; "
              "set ram.status.interfaces.usb.extended_host_interface 1; "
              "pm.usb.extended.pwr_controlled 0; clear EV_AP_HIGH_TEMP_USB_EXT; "
              "pm.lan.poe.pwr_controlled 0; clear EV_AP_HIGH_TEMP_POE; "
              "fpga 1; status 1; fpga 1; status 1; ");
}

TEST(Poe, HeatTakesPortOneFromThePsuMcuAndGivesItBack)
{
    Terminal terminal("qv1608B");
    terminal.start();
    EXPECT_EQ(terminal.write({{lan_status, 1}, {poe_0, 1}, {poe_1, 1}}), "");
    EXPECT_EQ(brief(terminal.write(settled, 0)), "supply on; port 0 on; supply on; port 1 on; ");
    terminal.write(supply_status, 1);
    EXPECT_EQ(brief(terminal.write(temperature, 73)),
              "pm.limit_background 1; set rmcfg.sys.reduce_background_datarate 1; "
              "raise EV_AP_HIGH_TEMP_LIMIT_BACKGROUND; pm.lan.poe.pwr_controlled 1; "
              "raise EV_AP_HIGH_TEMP_POE; set ram.fan.set_speed 255; port 0 on; port 1 off; ");
    EXPECT_EQ(brief(terminal.write(temperature, 60)),
              "pm.limit_background 0; set rmcfg.sys.reduce_background_datarate 0; "
              "clear EV_AP_HIGH_TEMP_LIMIT_BACKGROUND; pm.lan.poe.pwr_controlled 0; "
              "clear EV_AP_HIGH_TEMP_POE; set ram.fan.set_speed 0; port 0 on; port 1 on; ");
    EXPECT_EQ(brief(terminal.write(lan_status, 256)), // its lowest byte counts
              "port 0 off; supply off; port 1 off; supply off; ");
}

TEST(Poe, SupplyGoesOnBeforeAPortAndOffAfterIt)
{
    Terminal terminal("qv1608B");
    terminal.start();
    terminal.write({{lan_status, 1}, {settled, 1}});
    EXPECT_EQ(brief(terminal.write({{enabled_0, 0}, {poe_1, 256}})),
              "port 0 off; supply off; supply on; port 1 on; ");
    terminal.write(supply_status, 1);
    EXPECT_EQ(brief(terminal.write(poe_1, 0)), "port 1 off; supply off; ");
    terminal.write(supply_status, 0);
    EXPECT_EQ(brief(terminal.write(poe_0, 0)), "port 0 off; ");
    EXPECT_EQ(terminal.remove(poe_0) + terminal.write_text(poe_0, "on"), "");
    // Everything is read again, and followed once for each change.
    EXPECT_EQ(brief(terminal.write(settled, 1)),
              "log 4 POE on port cfg.interfaces.lan.0.poe.enabled not defined. POE is assumed "
              "enabled.; supply on; port 0 off; supply on; port 1 off; ");
    EXPECT_EQ(brief(terminal.write(enabled_0, 1)), "supply on; port 0 on; ");
    const host::SignalLog& signals = host::instance().signals;
    change("cfg.interfaces.lan.1.poe.enabled");
    EXPECT_EQ(signals.signal(signals.count() - 1).kept(), "\1");
    EXPECT_EQ(signals.signal(signals.count()).kept(), std::string_view("\1\0\0\0\1\0\0\0", 8));
}

TEST(Poe, OtherTerminalsSwitchNothing)
{
    Terminal terminal("qv1305A");
    terminal.write(capability, 2);
    terminal.start();
    EXPECT_EQ(terminal.write({{lan_status, 1}, {poe_0, 1}, {settled, 1}}), "");
    EXPECT_EQ(terminal.write(poe_1, 1), "");
}

TEST(Poe, PortTexts)
{
    Terminal terminal("qv1608B");
    terminal.start();
    terminal.write({{lan_status, 1}, {poe_0, 1}, {poe_1, 1}, {supply_status, 1}, {settled, 1}});
    const std::string prefix = "cfg.interfaces.lan.";
    for (const char* const rest :
         {"", ".", ".enabled", "x.enabled", "2.enabled", "7.enabled", "-1.enabled",
          "-4294967295.enabled", "4294967296.enabled", "18446744073709551617.enabled",
          "99999999999999999999.enabled", "1", "1.", "1.poe", "1.enabledx", "1.poe.enabled.x"})
        change(prefix + rest);
    const std::string digits(10000, '1');
    for (const std::string& rest : {"1." + digits, digits + ".enabled", "-" + digits + ".enabled"})
        change(prefix + rest);
    change("cfg.interfaces.phone.1.enabled");
    EXPECT_EQ(terminal.story(), "");
    for (const char* const rest : {"+1.enabled", " 1.enabled", "1x.enabled", "-0.enabled"})
        change(prefix + rest);
    change(prefix + std::string(10000, '0') + "1.poe.enabled");
    EXPECT_EQ(brief(terminal.story()), "port 1 on; port 1 on; port 1 on; port 0 on; port 1 on; ");
}

TEST(Poe, Capabilities)
{
    host::set_log_sink(keep_line);
    Terminal terminal("qv1202B");
    for (const char* const ports : {"-1", "2147483647", "65", "0", "two"}) {
        terminal.write_text(capability, ports);
        pwr_mgr_poe->init(nullptr);
        pwr_mgr_poe->setPowerForPoePort(0);
    }
    const std::string key = std::string("\n") + capability;
    EXPECT_EQ(log, "3" + key + " is negative\n|3" + key +
                       " is 2147483647, more than the 64 ports possible. POE is now disabled.\n|3" +
                       key + " is 65, more than the 64 ports possible. POE is now disabled.\n|7" +
                       key + " not defined. POE is now disabled.\n|");
    EXPECT_EQ(only(terminal.story(), {"file", "set ram.status"}), "");
}

TEST(Poe, MissingSettingsCountAsEnabled)
{
    Terminal terminal("qv1608B");
    terminal.write(capability, 1);
    terminal.start();
    terminal.remove(poe_0);
    terminal.write(lan_status, 1);
    host::set_log_sink(keep_line);
    EXPECT_EQ(only(terminal.write(settled, 1), {"signal"}),
              "signal psumcu.poe.signal.set.poe.psu.enabled on\n"
              "signal psumcu.poe.signal.set.port.poe.enabled port 0 on\n");
    EXPECT_EQ(log, "7PwrMgrPoe::applyInitialConfig()|4POE on port cfg.interfaces.lan.0.poe.enabled "
                   "not defined. POE is assumed enabled.\n"
                   "|7cfg.interfaces.lan.0.enabled not defined. Port is assumed enabled.\n"
                   "|7\nPoePsu power is needed|7\n"
                   "ram.status.psumcu.psu.poe.enable not defined. POE PSU is not controlled.\n|7\n"
                   " cbus_send_signal: PSUMCU_POE_SIGNAL_SET_POE_PSU_ENABLE with PoePsu on|");
}

TEST(Poe, ControlFileThatFails)
{
    Terminal terminal("qv1202B");
    terminal.write(capability, 1);
    terminal.start();
    terminal.write(settled, 1);
    const std::string open_fails =
        std::string("log 3 Failed to open poe interface ") + control_file + "\n";
    const std::string write_fails =
        "log 3 Failed to enable/disable poe interface; write() returned ";
    EXPECT_EQ(use_failing_device(terminal, control_file, lan_status),
              open_fails + open_fails + open_fails + write_fails + "No space left on device\n" +
                  write_fails + "Input/output error\n");
}
