// SPDX-License-Identifier: MIT
#include "temperature/temp_status.h"

#include "support/terminal.h"

namespace {

// What the command prints while no console connection is being served: it goes to standard
// output. Line ends are shown as '|', and an empty line
// ends a line here; without the console's carriage returns.
std::string temp_status(int arguments = 1, int expected_result = SHELL_OK)
{
    char name[] = "temp_status";
    char argument[] = "now";
    std::array<char*, 3> values = {name, arguments > 1 ? argument : nullptr, nullptr};
    testing::internal::CaptureStdout();
    EXPECT_EQ(temp_status_command.handler(arguments, values.data()), expected_result);
    std::string text = testing::internal::GetCapturedStdout();
    std::erase(text, '\r');
    std::replace(text.begin(), text.end(), '\n', '|');
    return std::regex_replace(text, std::regex("\\|\\|"), "||\n");
}

class Status : public testing::TestWithParam<Model> {};

TEST_P(Status, ShowsTheModelWithAllLimitations)
{
    Terminal terminal(GetParam().platform);
    terminal.write({{key::external_supply, 1},
                    {key::battery_temperature, 76},
                    {key::mainboard_temperature, 76}});
    terminal.start();
    terminal.write({{key::usb_held, 1},
                    {key::usb_extended_held, 1},
                    {"ram.status.power_management.lan.poe.pwr_controlled", 1},
                    {key::limit_background, -1},
                    {key::close_connections, 1},
                    {key::power_off, 1}});
    EXPECT_EQ(temp_status(), GetParam().story);
    EXPECT_EQ(temp_status(2, SHELL_USAGE), "");
}

const Model models[] = {
    {"qv1101A",
     R"(Terminal is powered by AC ||
Temp sensor name : Battery|Temperature      : 76|State-Temperature: 76|State            : Power Off|Temp limits (Bat): 50,100|Temp limits (AC) : 70,100||
Power management limitation :|   USB - Off|   USB extern host - Off|   PoE - Off|   Background connections - Limited|   Connections Closed|   Power Off terminal||
)"},
    // Beyond the last interval: its name, no limits.
    {"qv1403A",
     R"(Terminal is powered by AC ||
Temp sensor name : Radio Module - V360|Temperature      : 76|State-Temperature: 76|State            : Power Off|Temp limits (Bat): 0,0|Temp limits (AC) : 0,0||
Power management limitation :|   USB|   USB extern host|   Background connections - Limited|   Connections Closed|   Power Off terminal||
)"},
};
INSTANTIATE_TEST_SUITE_P(Models, Status, testing::ValuesIn(models), model_name);

TEST(StatusReport, EndsWhereAKeyIsMissing)
{
    Terminal terminal("qv1608B");
    terminal.write({{key::external_supply, 0},
                    {key::mainboard_temperature, 20},
                    {key::hpa_temperature, -15},
                    {key::hpa_temperature_state, 7}});
    terminal.start();
    terminal.write({{key::usb_held, 1}, {key::limit_background, 1}, {key::power_off, 0}});
    terminal.remove(key::close_connections); // only its own line is missing
    const std::string module =
        R"(Terminal is powered by DC ||
Temp sensor name : Radio Module - Morvin BDU|Temperature      : 20|State-Temperature: 20|State            : Normal Operation|Temp limits (AC) : -25,72||
)";
    const std::string amplifier =
        R"(Temp sensor name : HPA - Morvin ADU|Temperature      : -1|State-Temperature: )";
    // The unknown state was not evaluated.
    const std::string unknown =
        module + amplifier +
        R"(-27|State            : Normal Operation|HPA Temp state   : Uknown||
|Power management limitation :|   Background connections - Limited||
)";
    EXPECT_EQ(temp_status(), unknown);
    terminal.write(key::hpa_temperature_state, -1);
    EXPECT_EQ(temp_status(), unknown);
    terminal.write({{key::hpa_temperature_state, 3}, {key::power_off, -1}});
    EXPECT_EQ(temp_status(),
              module + amplifier +
                  R"(0|State            : Closing connections|HPA Temp state   : Critical High||
|Power management limitation :|   Background connections - Limited|   Connections Closed|   Power Off terminal||
)");
    terminal.remove(key::hpa_temperature_state);
    EXPECT_EQ(temp_status(), module + amplifier + "0|State            : Closing connections|");
    terminal.write_text(key::hpa_temperature, "warm");
    EXPECT_EQ(temp_status(), module);
    for (const char* const name : {key::mainboard_temperature, key::external_supply}) {
        const std::string before = terminal.value(name);
        terminal.remove(name);
        EXPECT_EQ(temp_status(), "") << name;
        terminal.write_text(name, before.c_str());
    }
    terminal.write_text("ram.platform.id", "qv1608"); // a model that nobody knows
    pwr_mgr_reset_platform_id();
    EXPECT_EQ(temp_status(), "");
    EXPECT_EQ(terminal.write(key::mainboard_temperature, 99), "");
    terminal.write("rmcfg.platform.acm.temperature", 21);
    EXPECT_EQ(only(terminal.run(5000), {"set"}), "set ram.status.hpa.temperature 400\n"
                                                 "set ram.status.hpa.temperature_state 0\n");
}

} // namespace
