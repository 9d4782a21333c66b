// SPDX-License-Identifier: MIT
#include "temperature/crossing.h"

#include "support/terminal.h"

namespace {

// The journal of a reading up to its line and the orders that end the terminal.
std::string lines_of(Terminal& terminal, std::initializer_list<std::pair<const char*, int>> values)
{
    return only(terminal.write(values), {"log", "signal psumcu.powerctrl"});
}

TEST(Crossing, IsOneLineBeforeWhatEndsTheTerminal)
{
    Terminal terminal("qv1202B");
    terminal.start();
    std::string story;
    for (const int degrees : {70, 71, 66, 76, 81, 500, 61, 59})
        story += lines_of(terminal, {{key::mainboard_temperature, degrees}});
    for (const int state : {0, 1, 2, 3})
        story += lines_of(terminal, {{key::hpa_temperature_state, state}});
    story += lines_of(terminal, {{key::mainboard_temperature, 81}});
    story += lines_of(terminal, {{key::hpa_temperature_state, 6}});
    story += lines_of(terminal, {{key::mainboard_temperature, -26}});
    EXPECT_EQ(
        story,
        R"(log 5 Radio Module: 71 C is above 70: Normal Operation -> Reduced Performance; off: background data, extended USB port, PoE
log 5 Radio Module: 76 C is above 75: Reduced Performance -> Closing connections; off: connections
log 5 Radio Module: 81 C is above 80: Closing connections -> Power Off; terminal reboots
signal psumcu.powerctrl.reboot "0, Rebooting terminal due to high temperature"
log 5 Radio Module: 59 C is below 60: Power Off -> Normal Operation; back: connections, background data, extended USB port, PoE
log 5 HPA: state 1 (Too High): Normal Operation -> Reduced Performance; off: background data
log 5 HPA: state 3 (Critical High): Reduced Performance -> Closing connections; off: connections
log 5 Radio Module: 81 C is above 80: Normal Operation -> Power Off; off: extended USB port, PoE; terminal reboots
signal psumcu.powerctrl.reboot "0, Rebooting terminal due to high temperature"
log 5 HPA: state 6 (Critical Low): Closing connections -> Low Temperature
log 5 Radio Module: -26 C is below -25: Power Off -> Low Temperature; back: connections, background data, extended USB port, PoE
)");
}

class CrossingOf : public testing::TestWithParam<Model> {};

TEST_P(CrossingOf, HasTheWordsOfItsModel)
{
    Terminal terminal(GetParam().platform);
    terminal.start();
    EXPECT_EQ(played(terminal, GetParam().story, {"log"}), GetParam().story);
}

const Model models[] = {
    {"qv1403A",
     R"(rmcfg.sys.mainboard.temperature=76 => log 5 Radio Module - V360: 76 C is above 75: Normal Operation -> beyond Power Off; high temperature reported; terminal shuts down
rmcfg.sys.mainboard.temperature=75 => log 5 Radio Module - V360: 75 C is not above 75: beyond Power Off -> Power Off
rmcfg.sys.mainboard.temperature=69 => log 5 Radio Module - V360: 69 C is below 70: Power Off -> Normal Operation; high temperature over
)"},
    {"qv2500A",
     R"(rmcfg.sys.mainboard.temperature=-41 => log 5 Radio Module - V150: -41 C is below -40: Normal Operation -> Low Temperature; low temperature reported
rmcfg.sys.mainboard.temperature=84 => log 5 Radio Module - V150: 84 C is above 83: Low Temperature -> Power Off; low temperature over; terminal reboots
rmcfg.sys.mainboard.temperature=101 => log 5 Radio Module - V150: 101 C is above 100: Power Off -> beyond Power Off
rmcfg.sys.mainboard.temperature=20 => log 5 Radio Module - V150: 20 C is below 60: beyond Power Off -> Normal Operation
)"},
    {"qv1101A",
     R"(ram.status.battery.1.temperature=66 => log 5 Battery: 66 C is above 65 (with external supply): Normal Operation -> Reduced Performance; off: extended USB port, background data
ram.status.battery.1.temperature=59 => log 5 Battery: 59 C is below 60 (with external supply): Reduced Performance -> Normal Operation; back: extended USB port, background data
ram.status.psumcu.events.external_supply=0 => log 5 Battery: 59 C is above 58 (without external supply): Normal Operation -> Power Off; off: extended USB port, background data, connections; terminal reboots
)"},
};
INSTANTIATE_TEST_SUITE_P(Models, CrossingOf, testing::ValuesIn(models), model_name);

} // namespace
