// SPDX-License-Identifier: MIT
#include "support/terminal.h"

namespace {

constexpr const char* capability = "ram.platform.capabilities.ether.poe.num_ports";
constexpr const char* settled = "ram.status.sw_update.settled";
constexpr const char* lan_status = "ram.status.interfaces.lan.enabled";
constexpr const char* poe_0 = "cfg.interfaces.lan.0.poe.enabled";

std::string log;

void keep_line(int level, std::string_view text)
{
    log.append(std::to_string(level)).append(text).append("|");
}

class PoeModel : public testing::TestWithParam<Model> {};

// From the start to the heat and back. The FPGA's terminal is hot before its ports are first
// supplied: not even for a moment may they be on.
TEST_P(PoeModel, FollowsItsSettingsAndTheHeat)
{
    Terminal terminal(GetParam().platform);
    terminal.write(capability, 2);
    terminal.write(
        {{"cfg.interfaces.usb.enabled", 1}, {"cfg.interfaces.usb.extended_host_interface", 1}});
    terminal.start();
    std::int32_t value = 1;
    const config_data_t other = integer_record("ram.status.sw_update", &value);
    pwr_mgr_poe->cfgSwUpdateSettled(1, &other);
    pwr_mgr_poe->switchAgain();
    EXPECT_EQ(terminal.story(), "") << "the update has not settled";
    EXPECT_EQ(played(terminal, GetParam().story), GetParam().story);
}

// The FPGA has one output for all ports. The PSU MCU's supply goes on before a port and off after
// it, port 0 keeps its power in the heat, and the lowest byte of the LAN's status counts.
const Model models[] = {
    {"qv1305A", R"(ram.status.interfaces.lan.enabled=1 lan.0.poe.enabled=1 =>
ram.status.sw_update.settled=1 =>
lan.1.poe.enabled=1 =>
)"},
    {"qv1202B",
     R"(ram.status.interfaces.lan.enabled=1 lan.0.poe.enabled=1 lan.1.poe.enabled=1 =>
rmcfg.sys.mainboard.temperature=72 => log 5 Radio Module: 72 C is above 70: Normal Operation -> Reduced Performance; off: background data, extended USB port, PoE limit_background=1 rmcfg.sys.reduce_background_datarate=1 +LIMIT_BACKGROUND 249=high 250=high 251=high 252=low 253=in 254=in 255=high usb.extended_host_interface=0 usb.extended.pwr_controlled=1 +USB_EXT lan.poe.pwr_controlled=1 +POE
ram.status.sw_update.settled=0 => poe=0 lan.0.poe.enabled=0 poe=0 lan.0.poe.enabled=0
rmcfg.sys.mainboard.temperature=60 => log 5 Radio Module: 60 C is below 65: Reduced Performance -> Normal Operation; back: background data, extended USB port, PoE limit_background=0 rmcfg.sys.reduce_background_datarate=0 -LIMIT_BACKGROUND 249=high 250=high 251=high 252=high 253=in 254=in 255=high usb.extended_host_interface=1 usb.extended.pwr_controlled=0 -USB_EXT lan.poe.pwr_controlled=0 -POE poe=1 lan.0.poe.enabled=1 poe=1 lan.0.poe.enabled=1
)"},
    {"qv1608B",
     R"(ram.status.interfaces.lan.enabled=1 lan.0.poe.enabled=1 lan.1.poe.enabled=1 =>
ram.status.sw_update.settled=0 => supply=on port0=on supply=on port1=on
ram.status.psumcu.psu.poe.enable=1 =>
rmcfg.sys.mainboard.temperature=73 => log 5 Radio Module - Morvin BDU: 73 C is above 72: Normal Operation -> Reduced Performance; off: background data, PoE; fan full speed limit_background=1 rmcfg.sys.reduce_background_datarate=1 +LIMIT_BACKGROUND lan.poe.pwr_controlled=1 +POE ram.fan.set_speed=255 port0=on port1=off
rmcfg.sys.mainboard.temperature=60 => log 5 Radio Module - Morvin BDU: 60 C is below 67: Reduced Performance -> Normal Operation; back: background data, PoE; fan off limit_background=0 rmcfg.sys.reduce_background_datarate=0 -LIMIT_BACKGROUND lan.poe.pwr_controlled=0 -POE ram.fan.set_speed=0 port0=on port1=on
ram.status.interfaces.lan.enabled=256 => port0=off supply=off port1=off supply=off
ram.status.psumcu.psu.poe.enable=0 =>
ram.status.interfaces.lan.enabled=1 => supply=on port0=on supply=on port1=on
lan.0.poe.enabled=0 lan.1.poe.enabled=0 => supply=on port0=off port1=off
lan.0.enabled=0 lan.1.poe.enabled=256 => port0=off supply=on port1=on
ram.status.psumcu.psu.poe.enable=1 =>
lan.1.poe.enabled=0 => port1=off supply=off
ram.status.psumcu.psu.poe.enable=0 =>
lan.0.poe.enabled=0 => port0=off
lan.0.poe.enabled= lan.0.poe.enabled=on =>
ram.status.interfaces.lan.enabled.x=0 ram.status.power_management.lan.poe.pwr_controlled.x=1 lan.x.enabled=0 lan.999999999.enabled=1 lan.0.poe=0 =>
ram.status.sw_update.settled=1 => log 4 POE on port cfg.interfaces.lan.0.poe.enabled not defined. POE is assumed enabled. supply=on port0=off supply=on port1=off
lan.0.enabled=1 => supply=on port0=on
ram.status.psumcu.psu.poe.enable= lan.0.poe.enabled= lan.0.enabled= lan.1.poe.enabled=0 => supply=on port1=off
ram.status.sw_update.settled=1 => log 4 POE on port cfg.interfaces.lan.0.poe.enabled not defined. POE is assumed enabled. supply=on port0=on supply=on port1=off
ram.status.interfaces.lan.enabled=0 => port0=off supply=off port1=off supply=off
)"},
};
INSTANTIATE_TEST_SUITE_P(Models, PoeModel, testing::ValuesIn(models), model_name);

TEST(Poe, BytesOfItsSignals)
{
    Terminal terminal("qv1608B");
    terminal.start();
    terminal.write({{lan_status, 1}, {poe_0, 1}, {"cfg.interfaces.lan.1.poe.enabled", 1}});
    terminal.write(settled, 1);
    const host::SignalLog& signals = host::instance().bus.sent();
    const _cbus_conn_t& bus = host::instance().bus;
    const std::string port = "psumcu.poe.signal.set.port.poe.enabled";
    const std::string supply = "psumcu.poe.signal.set.poe.psu.enabled";
    for (const unsigned int length : {1U, 8U}) // others' lengths, and what was not kept
        EXPECT_EQ(bus.describe(port, "\1", length), "signal " + port + " 01");
    for (const unsigned int length : {0U, 1U})
        EXPECT_EQ(bus.describe(supply, "", length), "signal " + supply);
    EXPECT_EQ(signals.signal(signals.count() - 1).kept(), "\1");
    EXPECT_EQ(signals.signal(signals.count()).kept(), std::string_view("\1\0\0\0\1\0\0\0", 8));
}

// Another daemon writes after the settings have been read and before they are followed.
TEST(Poe, SettingsWrittenWhileTheFirstAreApplied)
{
    Terminal terminal("qv1608B");
    terminal.start();
    terminal.write(lan_status, 1);
    pwr_mgr_poe->switchAgain(); // nothing yet
    EXPECT_EQ(only(terminal.story(), {"signal"}), "");
    host::instance().log.set_sink([](int, std::string_view text) {
        if (text == "\nPoePsu power is not needed")
            config_write_int(poe_0, 1);
    });
    EXPECT_EQ(in_words(terminal.write(settled, 1)),
              "cfg.interfaces.lan.0.poe.enabled=1 port0=off supply=off "
              "cfg.interfaces.lan.0.poe.enabled=1 port1=off supply=off "
              "supply=on port0=on supply=on port1=off");
}

TEST(Poe, Capabilities)
{
    Terminal terminal("qv1202B");
    host::instance().log.set_sink(keep_line);
    std::string story;
    for (const char* const ports : {"-1", "2147483647", "65", "0", "two", "64"}) {
        terminal.write_text(capability, ports);
        pwr_mgr_poe->init(nullptr);
        pwr_mgr_poe->setPowerForPoePort(0);
        story += only(terminal.story(), {"file", "set ram.status"});
    }
    const std::string key = std::string("\n") + capability;
    const std::string too_many = ", more than the 64 ports possible. POE is now disabled.\n|";
    EXPECT_EQ(log, "3" + key + " is negative\n|3" + key + " is 2147483647" + too_many + "3" + key +
                       " is 65" + too_many + "7" + key + " not defined. POE is now disabled.\n|");
    EXPECT_EQ(in_words(story), "poe=0 lan.0.poe.enabled=0"); // of the 64
}

TEST(Poe, ControlFileThatFails)
{
    constexpr const char* control = "/sys/devices/platform/fpga.0/control/poe";
    Terminal terminal("qv1202B");
    terminal.write(capability, 1);
    terminal.start();
    terminal.write(settled, 1);
    const std::string open_fails =
        std::string("log 3 Failed to open poe interface ") + control + "\n";
    const std::string write_fails =
        "log 3 Failed to enable/disable poe interface; write() returned ";
    EXPECT_EQ(with_failing_device(terminal, control, lan_status),
              open_fails + open_fails + open_fails + write_fails + "No space left on device\n" +
                  write_fails + "Input/output error\n");
}

} // namespace
