// SPDX-License-Identifier: MIT
#include "temperature/temp_actions.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/config_keys.h"
#include "host/host.h"
#include "support/terminal.h"
#include "temperature/brief.h"
#include "usb/usb_power.h"

namespace {

namespace key = power_man::key;

struct NamedAction {
    const char* name;
    void (*action)();
};

TEST(Actions, WriteThenReportThenSignal)
{
    Terminal terminal("qv1101A");
    terminal.write({{key::external_supply, 1}, {key::battery_temperature, 20}});
    terminal.start();
    pwr_mgr_usb_power(1, 1); // the pins are exported from now on
    terminal.write({{key::usb_enabled, 1}, {key::usb_extended, 1}, {key::usb_status, 1}});
    terminal.story();
    std::string story;
    for (const NamedAction& row :
         {NamedAction{"no_act", no_act}, NamedAction{"data_off", data_off},
          NamedAction{"data_on", data_on}, NamedAction{"bgr_usb_off", bgr_usb_off},
          NamedAction{"bgr_usb_on", bgr_usb_on}, NamedAction{"bgr_usb_poe_off", bgr_usb_poe_off},
          NamedAction{"bgr_poe_off, all held", bgr_poe_off},
          NamedAction{"bgr_poe_on, the first to let go", bgr_poe_on},
          NamedAction{"bgr_usb_poe_on", bgr_usb_poe_on}, NamedAction{"bgr_poe_off", bgr_poe_off},
          NamedAction{"bgr_poe_on", bgr_poe_on}, NamedAction{"reboot_term", reboot_term},
          NamedAction{"power_off", power_off}, NamedAction{"low_temp_on", low_temp_on},
          NamedAction{"low_temp_off", low_temp_off},
          NamedAction{"high_temp_warning_on", high_temp_warning_on},
          NamedAction{"high_temp_warning_off", high_temp_warning_off}}) {
        row.action();
        story += std::string("- ") + row.name + "\n" + terminal.story();
    }
    EXPECT_EQ(story, R"(- no_act
- data_off
set ram.status.power_management.close_connections 1
raise EV_AP_HIGH_TEMP_CLOSE_CONNECTIONS
- data_on
set ram.status.power_management.close_connections 0
clear EV_AP_HIGH_TEMP_CLOSE_CONNECTIONS
- bgr_usb_off
pin 53 low
pin 54 high
pin 55 high
pin 56 high
pin 52 high
set ram.status.interfaces.usb.extended_host_interface 0
set ram.status.power_management.usb.extended.pwr_controlled 1
raise EV_AP_HIGH_TEMP_USB_EXT
set ram.status.power_management.limit_background 1
set rmcfg.sys.reduce_background_datarate 1
raise EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
- bgr_usb_on
pin 53 high
pin 54 high
pin 55 high
pin 56 high
pin 52 high
set ram.status.interfaces.usb.extended_host_interface 1
set ram.status.power_management.usb.extended.pwr_controlled 0
clear EV_AP_HIGH_TEMP_USB_EXT
set ram.status.power_management.limit_background 0
set rmcfg.sys.reduce_background_datarate 0
clear EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
- bgr_usb_poe_off
set ram.status.power_management.limit_background 1
set rmcfg.sys.reduce_background_datarate 1
raise EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
pin 53 low
pin 54 high
pin 55 high
pin 56 high
pin 52 high
set ram.status.interfaces.usb.extended_host_interface 0
set ram.status.power_management.usb.extended.pwr_controlled 1
raise EV_AP_HIGH_TEMP_USB_EXT
set ram.status.power_management.lan.poe.pwr_controlled 1
raise EV_AP_HIGH_TEMP_POE
- bgr_poe_off, all held
set ram.fan.set_speed 255
- bgr_poe_on, the first to let go
set ram.fan.set_speed 0
- bgr_usb_poe_on
set ram.status.power_management.limit_background 0
set rmcfg.sys.reduce_background_datarate 0
clear EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
pin 53 high
pin 54 high
pin 55 high
pin 56 high
pin 52 high
set ram.status.interfaces.usb.extended_host_interface 1
set ram.status.power_management.usb.extended.pwr_controlled 0
clear EV_AP_HIGH_TEMP_USB_EXT
set ram.status.power_management.lan.poe.pwr_controlled 0
clear EV_AP_HIGH_TEMP_POE
- bgr_poe_off
set ram.status.power_management.limit_background 1
set rmcfg.sys.reduce_background_datarate 1
raise EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
set ram.status.power_management.lan.poe.pwr_controlled 1
raise EV_AP_HIGH_TEMP_POE
set ram.fan.set_speed 255
- bgr_poe_on
set ram.status.power_management.limit_background 0
set rmcfg.sys.reduce_background_datarate 0
clear EV_AP_HIGH_TEMP_LIMIT_BACKGROUND
set ram.status.power_management.lan.poe.pwr_controlled 0
clear EV_AP_HIGH_TEMP_POE
set ram.fan.set_speed 0
- reboot_term
set ram.status.power_management.power_off 1
raise EV_AP_HIGH_TEMP_CLOSE_TERMINAL
signal psumcu.powerctrl.reboot "0, Rebooting terminal due to high temperature"
- power_off
set ram.status.power_management.power_off 1
raise EV_AP_HIGH_TEMP_CLOSE_TERMINAL
signal psumcu.powerctrl.shutdown "0, Shutting down terminal due to high temperature"
- low_temp_on
raise EV_AP_TEMP_LOW
- low_temp_off
clear EV_AP_TEMP_LOW
- high_temp_warning_on
raise EV_AP_HIGH_TEMP_WARN
- high_temp_warning_off
clear EV_AP_HIGH_TEMP_WARN
)");
}

TEST(Actions, SendTheirOrdersWithoutNulOnEveryCall)
{
    Terminal terminal("qv2500A");
    terminal.start();
    const host::SignalLog& log = host::instance().signals;
    for (int i = 0; i < 2; ++i) {
        const std::uint64_t before = log.count();
        reboot_term();
        power_off();
        ASSERT_EQ(log.count(), before + 4); // each after its event report
        EXPECT_EQ(log.signal(before + 2).length, 45U);
        EXPECT_EQ(log.signal(before + 2).kept(), "0, Rebooting terminal due to high temperature");
        EXPECT_EQ(log.signal(before + 4).length, 49U);
        EXPECT_EQ(log.signal(before + 4).kept(),
                  "0, Shutting down terminal due to high temperature");
    }
}

TEST(Actions, SwitchUsbByTheKeysOfTheMoment)
{
    Terminal terminal("qv1305A");
    terminal.start();
    const auto main_and_extended = [&](void (*action)()) {
        terminal.story();
        action();
        return only(terminal.story(), {"pin 52", "pin 53", "set ram.status.interfaces"});
    };
    terminal.write({{key::usb_enabled, 1}, {key::usb_extended, 1}, {key::usb_status, 1}});
    usb_power_off();
    // The user changes his mind meanwhile.
    terminal.write(key::usb_extended, 0);
    EXPECT_EQ(main_and_extended(usb_power_on), R"(pin 53 low
pin 52 high
set ram.status.interfaces.usb.extended_host_interface 0
)");
    // Keys that cannot be read count as off.
    terminal.write_text(key::usb_status, "on");
    EXPECT_EQ(main_and_extended(usb_power_off), R"(pin 52 low
pin 53 low
set ram.status.interfaces.usb.extended_host_interface 0
)");
    terminal.remove(key::usb_extended);
    EXPECT_EQ(main_and_extended(usb_power_on), R"(pin 53 low
pin 52 high
set ram.status.interfaces.usb.extended_host_interface 0
)");
}

// Two sensors go up to "Closing connections" and back, each in four steps, in every order.
class Holds : public testing::TestWithParam<const char*> {};

struct Step {
    int module; // degrees
    int amplifier;
    int interval;
};
constexpr Step steps[] = {{20, 0, 1}, {74, 2, 2}, {78, 3, 3}, {69, 1, 2}, {60, 0, 1}};

void add(std::string& words, const std::string& word)
{
    words.append(words.empty() ? "" : " ").append(word);
}

// What one sensor's step does, given the interval of the other.
std::string expected_step(bool bdu, bool is_module, int from, int to, int other)
{
    const std::string sign = to > from ? "+" : "-";
    std::string words;
    if (std::max(from, to) == 3) {
        if (other < 3)
            add(words, sign + "CLOSE_CONNECTIONS");
        return words;
    }
    if (other < 2)
        add(words, sign + "LIMIT_BACKGROUND");
    if (is_module && !bdu)
        add(words, sign + "USB_EXT");
    if (is_module)
        add(words, sign + "POE");
    if (is_module && bdu)
        add(words, to > from ? "fan255" : "fan0");
    return words;
}

TEST_P(Holds, EndWithTheLastSensorThatLetsGo)
{
    const bool bdu = std::string(GetParam()) == "qv1608B";
    Terminal terminal(GetParam());
    terminal.write({{key::external_supply, 1},
                    {key::mainboard_temperature, 20},
                    {key::hpa_temperature_state, 0}});
    terminal.start();
    int interleavings = 0;
    std::string order = "AAAAMMMM";
    do {
        ++interleavings;
        std::size_t module = 0;
        std::size_t amplifier = 0;
        for (const char sensor : order) {
            const bool is_module = sensor == 'M';
            std::size_t& at = is_module ? module : amplifier;
            const int other = steps[is_module ? amplifier : module].interval;
            const int from = steps[at++].interval;
            const std::string story =
                is_module ? terminal.write(key::mainboard_temperature, steps[at].module)
                          : terminal.write(key::hpa_temperature_state, steps[at].amplifier);
            ASSERT_EQ(brief(story), expected_step(bdu, is_module, from, steps[at].interval, other))
                << order << ": module " << module << ", amplifier " << amplifier;
        }
        for (const char* const held : {key::limit_background, key::close_connections})
            ASSERT_EQ(terminal.value(held), "0") << order;
    } while (std::next_permutation(order.begin(), order.end()));
    EXPECT_EQ(interleavings, 70);
}

INSTANTIATE_TEST_SUITE_P(Models, Holds, testing::Values("qv1202B", "qv1608B"));

} // namespace
