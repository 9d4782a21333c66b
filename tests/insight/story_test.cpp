// SPDX-License-Identifier: MIT
// What somebody in front of the terminal is told.
#include <map>

#include "base/version.h"
#include "insight/command.h"
#include "usb/usb_fault_handler.h"
#include "usb/usb_power.h"

namespace {

// In pieces, of which the journal can hold one each.
void pass(Terminal& terminal, std::uint64_t seconds)
{
    for (; seconds > 60; seconds -= 60)
        terminal.run(60000);
    terminal.run(seconds * 1000);
}

// Runs the lines "STEPS $ COMMAND" of a story, and puts below each what the command says in place
// of what the story says. A step is KEY=VALUE, KEY= for a removal, or +N for seconds that pass;
// keys go by the names below.
std::string told(Terminal& terminal, const std::string& story)
{
    const std::map<std::string, std::string> names = {
        {"module", key::mainboard_temperature},
        {"battery", key::battery_temperature},
        {"amplifier", "rmcfg.platform.hpa.temperature_state"},
        {"supply", key::external_supply},
        {"settled", "ram.status.sw_update.settled"},
        {"lan", "ram.status.interfaces.lan.enabled"},
    };
    std::istringstream lines(story);
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t question = line.find("$ ");
        if (question == std::string::npos)
            continue;
        std::istringstream steps(line.substr(0, question));
        for (std::string step; steps >> step;) {
            const std::size_t equals = step.find('=');
            const auto name = names.find(step.substr(0, equals));
            if (step[0] == '+')
                pass(terminal, std::stoull(step));
            else
                terminal.change({{name != names.end() ? name->second : step.substr(0, equals),
                                  equals + 1 < step.size() ? std::optional(step.substr(equals + 1))
                                                           : std::nullopt}});
        }
        text += line + "\n" + command(line.substr(question + 2));
    }
    return text;
}

TEST(Insight, TellsAHotAfternoon)
{
    Terminal terminal("qv1202B");
    terminal.remove(key::mainboard_temperature);
    terminal.start();
    const char* const story = R"($ status
(19)qv1202B  external supply  NOT PROTECTED: no reading of the Radio Module yet
Radio Module     - C  no reading yet  Normal Operation  leaves below -25, above 70
HPA              2 C  0 s ago         Normal Operation  state 0 (Normal)
module=40 +5 module=71 +4 amplifier=1 +11520 $ status
(17)qv1202B  external supply  LIMITED since 00:00:05 (3 h 12 min)
Radio Module    71 C  3 h 12 min ago  Reduced Performance  leaves below 65, above 75
HPA             40 C  4 s ago         Reduced Performance  state 1 (Too High)
  background data    limited  Radio Module, HPA  since 00:00:05
  extended USB port  off      Radio Module       since 00:00:05
  PoE                off      Radio Module       since 00:00:05
$ why background
Background data is limited by heat since 00:00:05, when the Radio Module rose to 71 C (above 70), and since 00:00:10, when the HPA reported state 1 (Too High).
It returns when the Radio Module falls below 65 C and the HPA reports state 0 (Normal), 4 (Low), 5 (Too Low) or 6 (Critical Low).
module=50 $ why back
Background data is limited by heat since 00:00:05, and since 00:00:10, when the HPA reported state 1 (Too High).
It returns when the HPA reports state 0 (Normal), 4 (Low), 5 (Too Low) or 6 (Critical Low).
$ whatif hpa normal
HPA at state 0 (Normal), with external supply
  Reduced Performance -> Normal Operation
    background data unlimited
(a question only: nothing has been done)
$ why radio
The Radio Module is in Normal Operation since 03:12:09, when it fell to 50 C (below 65).
It leaves below -25, above 70.
module= +86400 $ status
(19)qv1202B  external supply  NOT PROTECTED: no reading of the Radio Module since 2026-01-01 03:12:09
Radio Module     - C  no reading since 2026-01-01 03:12:09  Normal Operation     leaves below -25, above 70
HPA             40 C  4 s ago                               Reduced Performance  state 1 (Too High)
  background data  limited  HPA  since 2026-01-01 00:00:05
)";
    EXPECT_EQ(told(terminal, story), story);
}

TEST(Insight, SaysWhereEachIntervalEnds)
{
    Terminal terminal("qv1101A");
    terminal.start();
    const char* const story = R"($ thresholds
Battery, now in Normal Operation
  Low Temperature
    with external supply  enter below -25  leave above -20
    without it            enter below -25  leave above -20
  Normal Operation
    with external supply  enter above -20, below 60  leave below -25, above 65
    without it            enter above -20, below 50  leave below -25, above 52
  Reduced Performance
    with external supply  enter above 65, below 65  leave below 60, above 69
    without it            enter above 52, below 53  leave below 50, above 55
    entered upwards: extended USB port off, background data limited (bgr_usb_off)
    left downwards: extended USB port back as set, background data unlimited (bgr_usb_on)
  Closing connections
    with external supply  enter above 69, below 70  leave below 65, above 72
    without it            enter above 55            leave below 53, above 58
    entered upwards: connections closed (data_off)
    left downwards: connections open (data_on)
  Power Off
    with external supply  enter above 72  leave below 70
    without it            enter above 58  leave below 50 (to Normal Operation)
    entered upwards: terminal reboots (reboot_term)
$ whatif battery 60
Battery at 60 C, with external supply
  stays in Normal Operation; nothing is done
$ whatif battery warm
(1)warm: no number of degrees Celsius
$ whatif battery 60 supply
(3)
(3)supply= $ whatif bat 60
Battery at 60 C, with external supply
  stays in Normal Operation; nothing is done
)";
    EXPECT_EQ(told(terminal, story), story);
}

TEST(Insight, WarnsBeforeTheEnd)
{
    Terminal terminal("qv1403A");
    terminal.start();
    const char* const story = R"(module=71 $ status
(17)qv1403A  external supply  LIMITED since 00:00:00 (0 s)
Radio Module - V360    71 C  0 s ago  Power Off  leaves below 70, above 75
  high temperature  reported  Radio Module - V360  since 00:00:00
module=76 $ status
(17)qv1403A  external supply  LIMITED since 00:00:00 (0 s)
Radio Module - V360    76 C  0 s ago  beyond Power Off  leaves below 76
  high temperature  reported    Radio Module - V360  since 00:00:00
  terminal          shuts down  Radio Module - V360  since 00:00:00
$ thresholds v
(1)v: no such sensor; there are: mainboard, Radio Module - V360
$ thresholds radio
Radio Module - V360, now in beyond Power Off
  Low Temperature
    enter below -25  leave above -20
  Normal Operation
    enter above -20, below 70  leave below -25, above 70
  Power Off
    enter above 70, below 76  leave below 70, above 75
    entered upwards: high temperature reported (high_temp_warning_on)
    left downwards: high temperature over (high_temp_warning_off)
  beyond Power Off
    enter above 75  leave below 76
    entered upwards: terminal shuts down (power_off)
$ why poe
PoE is off because this model does not switch it.
$ why radio
The Radio Module - V360 is in beyond Power Off since 00:00:00, when it rose to 76 C (above 75).
It leaves below 76.
In force by it: high temperature reported, terminal shuts down.
)";
    EXPECT_EQ(told(terminal, story), story);
}

TEST(Insight, IsNotProtectedWithoutAModel)
{
    Terminal terminal("qv1202B");
    terminal.write_text("ram.platform.id", "qv1\"\x1b\xe4");
    terminal.start();
    const std::string story =
        R"($ status
(19)unknown terminal  external supply  NOT PROTECTED: no model has the platform id qv1"??
$ status --json
(19){"version": ")" +
        std::string(power_man::version) +
        R"(", "platform": null, "condition": "not protected", "since": null, "not_protected": ["no model has the platform id qv1\"??"], "external_supply": true, "sensors": [], "in_force": []}
$ why poe
PoE is off because the terminal model is unknown.
$ why usb
USB is off because the terminal model is unknown, and so are its pins.
$ why hpa
(1)hpa: no such consumer or sensor; there are: usb, extended, poe, phone, isdn, background, connections
$ thresholds
(1)No sensors: no model has the platform id qv1"??
$ history hpa
(1)No sensors: no model has the platform id qv1"??
$ status -x
(3)
)";
    EXPECT_EQ(told(terminal, story), story);
    EXPECT_EQ(terminal.story(), "") << "nobody is alarmed by a question";
}

TEST(Insight, DrawsWhatWas)
{
    Terminal terminal("qv1608B");
    terminal.start();
    for (const int degrees : {40, 50, 60, 73, 76, 68, 60}) {
        for (int i = 0; i < 30; ++i) {
            terminal.write(key::mainboard_temperature, degrees + i % 5);
            terminal.run(30000);
        }
    }
    const char* const story = R"($ history main 1m --csv
time,minimum,mean,maximum,connections closed,background data limited,extended USB port off,PoE off,fan full speed,low temperature reported,high temperature reported,terminal reboots,terminal shuts down
2026-01-01T01:44:00+0000,63,64,64,0,0,0,0,0,0,0,0,0
2026-01-01T01:45:00+0000,,,,0,0,0,0,0,0,0,0,0
+1200 $ history main
Radio Module - Morvin BDU, degrees Celsius, the last 6 h
Nothing is remembered from before 00:00:00.
|: above it an interval higher (-20, 72, 75, 80)   -o-: minimum, mean, maximum
time    min mean  max  38                                          82
00:00    40   42   44    --o--                           |  |    |
00:15    50   52   54              --o--                 |  |    |
00:30    60   62   64                        --o--       |  |    |
00:45    73   75   77                                    |--o--  |     CBPF
01:00    76   78   80                                    |  |--o--     CBPF
01:15    68   70   72                                --o--  |    |     CBPF
01:30    60   62   64                        --o--       |  |    |     BPF
01:45     -    -    -                                    |  |    |
02:00     -    -    -                                    |  |    |
  C: connections closed
  B: background data limited
  P: PoE off
  F: fan full speed
$ history hpa 3m
HPA - Morvin ADU, degrees Celsius, the last 3 min
time    min mean  max  38                                          42
02:02    40   40   40                        o
02:03    40   40   40                        o
02:04    40   40   40                        o
02:05    40   40   40                        o
$ history main 25h
(3)
(3)$ history
(3)
)";
    EXPECT_EQ(told(terminal, story), story);
}

TEST(Insight, TellsTheReasonsApart)
{
    Terminal terminal("qv1608B");
    terminal.remove("ram.platform.capabilities.usb");
    terminal.start();
    const char* const story = R"($ why poe
PoE is not switched yet because the software update has not settled since the start.
settled=1 $ why poe
PoE port 0 is off because the LAN is off: ram.status.interfaces.lan.enabled is 0 or missing.
Also by the user's setting: cfg.interfaces.lan.0.poe.enabled is 0.
PoE port 1 is off because the LAN is off: ram.status.interfaces.lan.enabled is 0 or missing.
Also by the user's setting: cfg.interfaces.lan.1.poe.enabled is 0.
lan=1 cfg.interfaces.lan.0.poe.enabled=1 $ why poe
PoE port 0 is on.
PoE port 1 is off by the user's setting: cfg.interfaces.lan.1.poe.enabled is 0.
cfg.interfaces.lan.1.poe.enabled=1 $ why poe
PoE is on.
ram.status.psumcu.psu.poe.enable=0 $ why poe
PoE is off because the PoE supply is: ram.status.psumcu.psu.poe.enable is 0.
ram.status.psumcu.psu.poe.enable=1 module=73 $ why poe
PoE port 0 is on.
PoE port 1 is off by heat since 00:00:00, when the Radio Module - Morvin BDU rose to 73 C (above 72).
It returns when the Radio Module - Morvin BDU falls below 67 C.
$ why poe 2
(1)2: no such poe port
$ why usb
USB is off because this unit has none: ram.platform.capabilities.usb is 0 or missing.
ram.platform.capabilities.usb=1 cfg.interfaces.usb.enabled=0 $ why usb
USB is off by the user's setting: cfg.interfaces.usb.enabled is 0.
cfg.interfaces.usb.enabled=1 $ why usb
USB is on.
$ why extended
The extended USB port is off because this model has none.
cfg.interfaces.phone.1.enabled=1 $ why phone
Phone port 1 is on.
Phone port 2 is off by the user's setting: cfg.interfaces.phone.2.enabled is 0.
cfg.interfaces.phone.2.enabled=1 $ why phone
Each phone port is on.
cfg.interfaces.isdn.enabled=1 $ why isdn
ISDN is on.
$ why connections
Data connections are open.
$ why usb 1
(3)
)";
    EXPECT_EQ(told(terminal, story), story);
    usb_fault_handler->handleInterrupt(81);
    const char* const fault = R"($ why usb
USB is off or being switched off and on because of an over-current on GPIO 81.
It stays on when the line has been quiet for a second.
+3 $ why usb
USB is on.
)";
    EXPECT_EQ(told(terminal, fault), fault);
}

TEST(Insight, NamesTheDeviceThatFailed)
{
    Terminal terminal("qv1202B");
    for (const char* const device : {"/sys/class/gpio/gpiochip248", "/dev/slic0.1",
                                     "/sys/devices/platform/fpga.0/control/isdnpwr",
                                     "/sys/devices/platform/fpga.0/control/poe"})
        fs::remove_all(terminal.path(device));
    terminal.write("cfg.interfaces.phone.2.enabled", 1);
    terminal.start();
    terminal.write(key::close_connections, 1); // as an earlier life leaves it
    const char* const story = R"($ why
USB is off because its GPIO chip /sys/class/gpio/gpiochip248 is not there.
The extended USB port is off because USB is off; see: why usb.
PoE is not switched yet because the software update has not settled since the start.
Phone port 1 is off by the user's setting: cfg.interfaces.phone.1.enabled is 0.
Phone port 2 is off because its device /dev/slic0.1 has failed: ram.status.interfaces.phone.2.enabled is not 1; see the log.
ISDN is off because this unit has none: there is no /sys/devices/platform/fpga.0/control/isdnpwr.
Background data is unlimited.
Data connections are closed by a mark from before the daemon started (ram.status.power_management.close_connections is 1), though no sensor holds it.
The Radio Module is in Normal Operation since the start, 00:00:00.
It leaves below -25, above 70.
The HPA is in Normal Operation since the start, 00:00:00.
settled=1 lan=1 cfg.interfaces.lan.0.poe.enabled=1 $ why poe
PoE port 0 is off with the one output for all ports, which was switched last for port 1; see: why poe 1.
PoE port 1 is off by the user's setting: cfg.interfaces.lan.1.poe.enabled is 0.
cfg.interfaces.lan.1.poe.enabled=1 $ why poe
PoE is off because the FPGA's output has failed: ram.status.interfaces.lan.0.poe.enabled is not 1; see the log.
cfg.interfaces.usb.extended_host_interface=0 $ why extended
The extended USB port is off because USB is off; see: why usb.
Also by the user's setting: cfg.interfaces.usb.extended_host_interface is 0.
$ status
(17)qv1202B  external supply  LIMITED
Radio Module    40 C  0 s ago  Normal Operation  leaves below -25, above 70
HPA              2 C  0 s ago  Normal Operation  state 0 (Normal)
  connections  closed  an earlier life  since before the start
)";
    EXPECT_EQ(told(terminal, story), story);
}

} // namespace
